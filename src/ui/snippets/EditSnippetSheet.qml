import QtQuick
import SonVale

/// Changes a snippet, as it is typed.
SVSheet {
    id: sheet

    required property SnippetsModel model

    title: Texts.editSnippet
    onOpened: trigger.focusField()
    // However it is closed, but by Done.
    onClosed: model.cancelEditing()

    LabelledField {
        id: trigger

        name: "triggerField"
        label: Texts.triggerPhrase
        value: sheet.model.trigger
        onEdited: sheet.model.trigger = text
    }
    LabelledEditor {
        id: content_

        name: "contentField"
        label: Texts.content
        value: sheet.model.content
        onEdited: sheet.model.content = text
    }
    LabelledField {
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
                    sheet.model.finishEditing();
                    sheet.close();
                }
            }
        }
    }
}
