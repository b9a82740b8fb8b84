import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A scrolling editor of plain text. Tab moves to the next control, as everywhere in the window.
FocusScope {
    id: area

    /// The text to show. Each new value replaces the editor's text; this is not an edit.
    property string value
    readonly property alias text: editor.text
    property alias placeholder: editor.placeholderText
    property alias editorName: editor.objectName
    property string label

    /// Emitted if the keyboard or assistive technology has changed the text.
    signal edited

    /// Replaces the editor's text. This is not an edit.
    function show(text) {
        editor.show(text);
    }
    /// Empties the editor so that Control-Z undoes it, and gives the editor the keyboard.
    function clear() {
        if (editor.length === 0)
            return;
        editor.remove(0, editor.length);
        editor.forceActiveFocus();
    }

    onValueChanged: editor.show(value)
    implicitHeight: 120
    implicitWidth: 240

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.fieldLine
    }
    ScrollView {
        anchors.fill: parent
        anchors.margins: 1
        ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

        TextArea {
            id: editor

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

            focus: true
            color: Theme.text
            font: Theme.body
            placeholderTextColor: Theme.secondaryText
            selectByMouse: true
            selectionColor: Theme.accent
            selectedTextColor: Theme.textOnAccent
            padding: 12
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            Accessible.name: area.label
            Keys.priority: Keys.BeforeItem
            Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
            onTextChanged: if (!isShowing)
                area.edited()
        }
    }
    FocusRing {
        control: editor
    }
}
