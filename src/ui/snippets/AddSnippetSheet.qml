import QtQuick
import SonVale

/// The sheet that adds a snippet.
SVSheet {
    id: sheet

    signal saved(string trigger, string content, string category)

    title: Texts.addSnippet
    onAboutToShow: {
        trigger.show("");
        content_.show("");
        category.show("");
    }
    onOpened: trigger.focusField()

    LabeledField {
        id: trigger

        name: "triggerField"
        label: Texts.triggerPhrase
        placeholder: Texts.triggerPlaceholder
        note: Texts.triggerNote
    }
    LabeledEditor {
        id: content_

        name: "contentField"
        label: Texts.content
    }
    LabeledField {
        id: category

        name: "categoryField"
        label: Texts.categoryOptional
        placeholder: Texts.categoryPlaceholder
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
                objectName: "addSnippet"
                text: Texts.addSnippet
                // An empty trigger cannot be spoken, and an empty content would insert nothing.
                enabled: trigger.text.trim() !== "" && content_.text !== ""
                onClicked: {
                    sheet.saved(trigger.text, content_.text, category.text);
                    sheet.close();
                }
            }
        }
    }
}
