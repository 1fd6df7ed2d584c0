import QtQuick
import QtQuick.Window

// One of our line icons, tinted.
Image {
    id: icon
    property string symbol
    property color color: "#000000"
    property int size: 16

    width: size
    height: size
    visible: symbol !== ""
    source: symbol === "" ? "" : "image://icon/" + symbol + "?color=" + encodeURIComponent(icon.color.toString())
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    fillMode: Image.PreserveAspectFit
    smooth: true
}
