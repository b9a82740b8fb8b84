import QtQuick
import QtQuick.Templates as T
import SonVale

/// The outline around the item that has the keyboard.
Rectangle {
    objectName: "focusRing"

    property Item control: parent
    readonly property T.Control button: control as T.Control
    property real controlRadius: Theme.controlRadius

    anchors.fill: parent
    anchors.margins: -4
    radius: controlRadius + 4
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
    // Fields and rows are not a `Control`: they are marked whenever they have the keyboard.
    visible: control.activeFocus && (!button || button.visualFocus)
}
