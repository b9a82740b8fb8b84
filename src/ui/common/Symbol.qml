import QtQuick
import QtQuick.Window
import SonVale

/// A line drawing of the program's own set, in one color.
Image {
    id: symbol

    property string name
    property color color: Theme.text
    property int size: 20

    width: size
    height: size
    sourceSize.width: Math.round(size * Screen.devicePixelRatio)
    sourceSize.height: Math.round(size * Screen.devicePixelRatio)
    source: name === "" ? "" : "image://symbol/" + name + "/" + encodeURIComponent(String(color))
    fillMode: Image.PreserveAspectFit
}
