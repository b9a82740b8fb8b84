import QtQuick
import SonVale

/// The sheet that edits a snippet while the user types.
SVSheet {
    id: sheet

    required property SnippetEditModel model

    title: Texts.editSnippet
    onOpened: trigger.focusField()
    // Closing the sheet in any way except by Done cancels the edit.
    onClosed: model.cancel()

    LabeledField {
        id: trigger

        name: "triggerField"
        label: Texts.triggerPhrase
        value: sheet.model.trigger
        onEdited: sheet.model.trigger = text
    }
    LabeledEditor {
        id: content_

        name: "contentField"
        label: Texts.content
        value: sheet.model.content
        onEdited: sheet.model.content = text
    }
    LabeledField {
        id: category

        name: "categoryField"
        label: Texts.categoryOptional
        value: sheet.model.category
        onEdited: sheet.model.category = text
    }

    footer: Item {
        width: parent.width
        height: 40

        Row {
            anchors.right: parent.right
            spacing: Theme.inControl

            PlainButton {
                objectName: "cancel"
                text: Texts.cancel
                onClicked: sheet.close()
            }
            SVPrimaryButtonStyle {
                objectName: "done"
                text: Texts.done
                onClicked: {
                    sheet.model.finish();
                    sheet.close();
                }
            }
        }
    }
}
