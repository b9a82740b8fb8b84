import QtQuick
import SonVale

/// A field under its name, and a note below it.
Column {
    id: labelled

    property string label
    property string note
    /// What the field shows. Each new value goes into the field, and is not an edit.
    property string value
    readonly property alias text: field.text
    property alias placeholder: field.placeholderText
    property string name

    /// The text is another one than what was shown, by the keyboard or by assistive technology.
    signal edited

    /// Puts a text into the field, which is not an edit.
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
        text: labelled.label
        font: Theme.rowTitle
    }
    SVTextField {
        id: field

        /// The text that it begins with arrives as late as its completion.
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

        objectName: labelled.name
        width: parent.width
        label: labelled.label
        onTextChanged: if (!isShowing)
            labelled.edited()
    }
    SVText {
        width: parent.width
        visible: text !== ""
        text: labelled.note
        font: Theme.caption
        color: Theme.secondaryText
    }
}
