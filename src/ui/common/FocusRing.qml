import QtQuick
import SonVale

/// The outline around whatever has the keyboard, with air between.
Rectangle {
    objectName: "focusRing"

    property Item control: parent
    property real controlRadius: Theme.controlRadius

    anchors.fill: parent
    anchors.margins: -4
    radius: controlRadius + 4
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
    visible: control.activeFocus && (control.visualFocus === undefined || control.visualFocus)
}
