import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A field of one line. Screen readers read its `label`.
TextField {
    id: field

    property string label
    /// The name of the symbol before the text; empty for no symbol.
    property string symbol

    implicitHeight: 40
    implicitWidth: 240
    color: Theme.text
    font: Theme.body
    placeholderTextColor: Theme.secondaryText
    selectByMouse: true
    selectionColor: Theme.accent
    selectedTextColor: Theme.textOnAccent
    leftPadding: !mirrored && symbol !== "" ? 38 : 12
    rightPadding: mirrored && symbol !== "" ? 38 : 12
    maximumLength: 20000
    Accessible.name: label === "" ? placeholderText : label

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.fieldLine

        Symbol {
            anchors.left: parent.left
            anchors.leftMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            visible: field.symbol !== ""
            name: field.symbol
            color: Theme.secondaryText
        }
        FocusRing {
            control: field
        }
    }
}
