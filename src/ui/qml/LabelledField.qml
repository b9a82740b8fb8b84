import QtQuick

/// A field under its name, and a note below it.
Column {
    id: labelled

    property string label
    property string note
    property alias text: field.text
    property alias placeholder: field.placeholderText
    property string name

    signal edited

    function focusField() {
        field.forceActiveFocus(Qt.TabFocusReason);
    }

    width: parent ? parent.width : 0
    spacing: 6

    SVText {
        width: parent.width
        text: labelled.label
        font: Theme.rowTitle
    }
    SVTextField {
        id: field

        objectName: labelled.name
        width: parent.width
        label: labelled.label
        onTextEdited: labelled.edited()
    }
    SVText {
        width: parent.width
        visible: text !== ""
        text: labelled.note
        font: Theme.caption
        color: Theme.secondaryText
    }
}
