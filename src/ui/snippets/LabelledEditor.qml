import QtQuick
import SonVale

/// An editor under its name.
Column {
    id: labelled

    property string label
    /// What the editor shows, as in SVTextArea.
    property alias value: area.value
    readonly property alias text: area.text
    property alias placeholder: area.placeholder
    property alias editorHeight: area.height
    property string name

    signal edited

    /// Puts a text into the editor, which is not an edit.
    function show(text) {
        area.show(text);
    }

    width: parent ? parent.width : 0
    spacing: 6

    SVText {
        width: parent.width
        visible: text !== ""
        text: labelled.label
        font: Theme.rowTitle
    }
    SVTextArea {
        id: area

        editorName: labelled.name
        width: parent.width
        height: 120
        label: labelled.label
        onEdited: labelled.edited()
    }
}
