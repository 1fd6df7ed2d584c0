import QtQuick
import Dustwhale

// A sidebar page whose view is not part of this build yet.
Item {
    id: page
    property string symbol
    property string title
    EmptyState {
        anchors.fill: parent
        anchors.bottomMargin: 60
        symbol: page.symbol
        title: page.title
        detail: "This page comes with a later version of Dustwhale. Caches, App leftovers and Large files are ready now."
    }
}
