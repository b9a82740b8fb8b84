import QtQuick
import SonVale

/// An editor with its label above it.
Column {
    id: labeled

    property string label
    /// The text to show, as in SVTextArea.
    property alias value: area.value
    readonly property alias text: area.text
    property alias placeholder: area.placeholder
    property alias editorHeight: area.height
    property string name

    signal edited

    /// Replaces the editor's text. This is not an edit.
    function show(text) {
        area.show(text);
    }

    width: parent ? parent.width : 0
    spacing: 6

    SVText {
        width: parent.width
        visible: text !== ""
        text: labeled.label
        font: Theme.rowTitle
    }
    SVTextArea {
        id: area

        editorName: labeled.name
        width: parent.width
        height: 120
        label: labeled.label
        onEdited: labeled.edited()
    }
}
