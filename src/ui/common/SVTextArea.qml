import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// An editor of plain text that scrolls. Tab goes on to the next control, as everywhere in the window.
FocusScope {
    id: area

    /// What the editor shows. Each new value goes into the editor, and is not an edit.
    property string value
    readonly property alias text: editor.text
    property alias placeholder: editor.placeholderText
    property alias editorName: editor.objectName
    property string label

    /// The text is another one than what was shown, by the keyboard or by assistive technology.
    signal edited

    /// Puts a text into the editor, which is not an edit.
    function show(text) {
        editor.show(text);
    }
    /// Empties the editor, in a way that Control-Z undoes, and gives it the keyboard.
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
