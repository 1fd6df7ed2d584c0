import QtQuick
import Dustwhale

// A small rounded label in one of three tones: safe, review, neutral.
Rectangle {
    id: badge
    property string text
    property string tone: "neutral"

    implicitWidth: label.implicitWidth + 16
    implicitHeight: 20
    radius: 10
    color: tone === "safe" ? Theme.safeBack : tone === "review" ? Theme.reviewBack : Theme.neutralBack

    Text {
        id: label
        anchors.centerIn: parent
        text: badge.text
        font.pixelSize: Theme.smallSize
        font.weight: Font.DemiBold
        color: badge.tone === "safe" ? Theme.safeText : badge.tone === "review" ? Theme.reviewText : Theme.neutralText
    }
}
