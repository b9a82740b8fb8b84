import QtQuick
import SonVale

/// Records a shortcut, and shows what is wrong with the last one.
Column {
    id: view

    property bool isRecording: false
    property alias model: recorder.model
    /// The reason why the last shortcut was refused; empty for none.
    property string warning

    signal capture(double keyCode, double modifiers, string displayName)
    signal cancel

    spacing: 6

    Rectangle {
        width: parent.width
        height: Math.max(Theme.hitHeight, words.implicitHeight + Theme.inControl)
        radius: Theme.controlRadius
        color: Theme.tint(Theme.accent, 0.1)

        SVText {
            id: words

            objectName: "recordingLine"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.margins: Theme.betweenRows
            anchors.verticalCenter: parent.verticalCenter
            text: Texts.pressShortcut
        }
        KeyCapture {
            id: recorder

            objectName: "recorder"
            anchors.fill: parent
            isRecording: view.isRecording
            Accessible.role: Accessible.HotkeyField
            Accessible.name: Texts.pressShortcut
            Accessible.focusable: true
            onCapture: (keyCode, modifiers, displayName) => view.capture(keyCode, modifiers, displayName)
            onCancel: view.cancel()

            FocusRing {
                anchors.margins: -2
                controlRadius: Theme.controlRadius - 2
            }
            TapHandler {
                onTapped: recorder.forceActiveFocus()
            }
        }
    }
    Row {
        visible: view.warning !== ""
        width: parent.width
        spacing: 6

        Symbol {
            id: sign

            name: "exclamationmark.triangle.fill"
            size: 16
            color: Theme.caution
        }
        SVText {
            objectName: "conflictWarning"
            width: parent.width - sign.width - parent.spacing
            anchors.verticalCenter: sign.verticalCenter
            text: view.warning
            font: Theme.caption
            color: Theme.caution
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }
}
