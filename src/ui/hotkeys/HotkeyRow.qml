import QtQuick
import SonVale

/// One action with its shortcuts, or with the recorder while a shortcut of it is recorded.
Item {
    id: row

    required property HotkeySheetModel model
    required property actionLine action
    /// A list of `shortcutLine`.
    required property var shortcuts
    readonly property bool isRecording: row.model.recordingAction === row.action.action

    function record(index) {
        row.model.startRecording(row.action.action, index);
    }
    function focusEdit() {
        edit.forceActiveFocus(Qt.TabFocusReason);
    }

    // Rows below do not move when a recording begins or ends.
    implicitHeight: Math.max(words.height, controls.height, 2 * Theme.hitHeight + controls.spacing)
    // The recorder disappears together with the keyboard focus, so the edit button takes the focus.
    onIsRecordingChanged: if (!isRecording && recorder.activeFocus)
        focusEdit()

    Column {
        id: words

        anchors.left: parent.left
        width: Math.round(parent.width * 0.42)
        topPadding: 6
        spacing: 2

        SVText {
            objectName: "label"
            width: parent.width
            text: row.action.label
            font: Theme.rowTitle
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        SVText {
            objectName: "explanation"
            width: parent.width
            text: row.action.subtitle
            font: Theme.caption
            color: Theme.secondaryText
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Column {
        id: controls

        anchors.left: words.right
        anchors.leftMargin: Theme.inCard
        anchors.right: parent.right
        spacing: 2

        Flow {
            visible: !row.isRecording
            width: parent.width
            spacing: Theme.inControl

            Repeater {
                model: row.shortcuts

                KeyPillView {
                    required property shortcutLine modelData
                    required property int index

                    objectName: "pill." + index
                    config: modelData
                    isRemovable: row.shortcuts.length > 1
                    Accessible.description: row.action.label
                    onReRecordWanted: row.record(index)
                    onRemoveWanted: {
                        row.focusEdit();
                        row.model.remove(row.action.action, index);
                    }
                }
            }
            SymbolButton {
                id: edit

                objectName: "edit"
                symbol: "pencil"
                text: Texts.editShortcut.arg(row.action.label)
                onClicked: row.record(0)
            }
        }
        AddButton {
            objectName: "add"
            visible: !row.isRecording
            text: Texts.addShortcut
            Accessible.description: row.action.label
            onClicked: row.record(-1)
        }
        FocusScope {
            id: recorder

            visible: row.isRecording
            width: parent.width
            height: recording.implicitHeight

            KeyRecorderView {
                id: recording

                width: parent.width
                isRecording: row.isRecording
                model: row.model
                warning: row.isRecording ? row.model.conflictWarning : ""
                onCapture: (keyCode, modifiers, displayName) => row.model.capture(keyCode, modifiers, displayName)
                onCancel: row.model.cancelRecording()
            }
        }
    }
}
