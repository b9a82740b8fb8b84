import QtQuick
import SonVale

/// A field with its label above it and a note below it.
Column {
    id: labeled

    property string label
    property string note
    /// The text to show. Each new value replaces the field's text; this is not an edit.
    property string value
    readonly property alias text: field.text
    property alias placeholder: field.placeholderText
    property string name

    /// Emitted if the keyboard or assistive technology has changed the text.
    signal edited

    /// Replaces the field's text. This is not an edit.
    function show(text) {
        field.show(text);
    }
    function focusField() {
        field.forceActiveFocus(Qt.TabFocusReason);
    }

    onValueChanged: field.show(value)
    width: parent ? parent.width : 0
    spacing: 6

    SVText {
        width: parent.width
        text: labeled.label
        font: Theme.rowTitle
    }
    SVTextField {
        id: field

        /// True until the item is complete, because the initial text arrives only then.
        property bool isShowing: true

        function show(value) {
            if (text === value)
                return;
            var before = isShowing;
            isShowing = true;
            text = value;
            isShowing = before;
        }

        Component.onCompleted: isShowing = false

        objectName: labeled.name
        width: parent.width
        label: labeled.label
        onTextChanged: if (!isShowing)
            labeled.edited()
    }
    SVText {
        width: parent.width
        visible: text !== ""
        text: labeled.note
        font: Theme.caption
        color: Theme.secondaryText
    }
}
