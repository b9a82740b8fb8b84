import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The sheet in which the user changes the shortcuts of the actions.
SVSheet {
    id: sheet

    required property HotkeySheetModel model
    readonly property bool isRecording: model.recordingAction !== ""

    title: Texts.changeHotkeys
    subtitle: Texts.changeHotkeysSubtitle
    width: Math.min(620, parent ? parent.width - 2 * Theme.pageEdge : 620)
    rowSpacing: Theme.betweenRows
    // The first Escape ends the recording.
    closePolicy: isRecording ? Popup.NoAutoClose : Popup.CloseOnEscape
    onAboutToShow: model.open()
    onClosed: model.cancelRecording()

    footer: Item {
        width: parent.width
        height: 40

        LinkButton {
            objectName: "reset"
            anchors.left: parent.left
            anchors.leftMargin: -Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            text: Texts.resetToDefault
            onClicked: sheet.model.resetToDefault()
        }
        Row {
            anchors.right: parent.right
            spacing: Theme.inControl

            PlainButton {
                objectName: "cancel"
                text: Texts.cancel
                onClicked: sheet.model.cancel()
            }
            SVPrimaryButtonStyle {
                objectName: "save"
                text: Texts.save
                onClicked: sheet.model.save()
            }
        }
    }

    // For the time while the recorder does not have the keyboard.
    Shortcut {
        sequence: "Escape"
        enabled: sheet.opened && sheet.isRecording
        onActivated: sheet.model.cancelRecording()
    }
    Connections {
        target: sheet.model

        function onDismissed() {
            sheet.close();
        }
    }

    Repeater {
        model: sheet.model.actions

        Column {
            id: line

            required property actionLine modelData
            required property int index

            width: parent.width
            spacing: Theme.betweenRows

            Connections {
                target: sheet

                function onOpened() {
                    if (line.index === 0)
                        row.focusEdit();
                }
            }
            SVSeparator {
                width: parent.width
                visible: line.index > 0
            }
            HotkeyRow {
                id: row

                objectName: "row." + line.modelData.action
                width: parent.width
                model: sheet.model
                action: line.modelData
                shortcuts: sheet.model.shortcuts[line.index]
            }
        }
    }
}
