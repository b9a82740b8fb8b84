import QtQuick
import QtQuick.Controls.Basic

/// An editor of plain text that scrolls. Tab goes on to the next control, as everywhere in the window.
FocusScope {
    id: area

    property alias text: editor.text
    property alias placeholder: editor.placeholderText
    property alias editorName: editor.objectName
    property string label

    signal edited

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
            onTextChanged: if (activeFocus)
                area.edited()
        }
    }
    FocusRing {
        control: editor
    }
}
