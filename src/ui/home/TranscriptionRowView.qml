import QtQuick
import SonVale

/// A dictation of the history. Its button copies it, and so does Return while the row has the keyboard.
Item {
    id: row

    required property int index
    required property string identifier
    required property string time
    required property string text
    property bool copied: false
    property bool isExpanded: false
    readonly property bool isHovered: hover.hovered

    signal copyWanted
    signal expansionWanted(bool isExpanded)

    objectName: "transcription." + index
    height: content.height + 2 * Theme.betweenRows
    Accessible.role: Accessible.ListItem
    Accessible.name: time + " " + text
    Accessible.focusable: true
    Accessible.onPressAction: row.copyWanted()
    Keys.onReturnPressed: row.copyWanted()
    Keys.onEnterPressed: row.copyWanted()
    Keys.onSpacePressed: if (words.truncated || row.isExpanded)
        row.expansionWanted(!row.isExpanded)
    Keys.onPressed: event => {
        if (event.matches(StandardKey.Copy)) {
            row.copyWanted();
            event.accepted = true;
        }
    }

    HoverHandler {
        id: hover
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        radius: Theme.controlRadius
        color: row.isHovered || row.activeFocus ? Theme.raised : "transparent"

        FocusRing {
            control: row
            anchors.margins: 0
            radius: Theme.controlRadius
        }
    }
    SVText {
        id: clock

        anchors.left: parent.left
        anchors.leftMargin: Theme.betweenRows
        anchors.top: content.top
        anchors.topMargin: 3
        width: 64
        text: row.time
        font: Theme.caption
        color: Theme.secondaryText
        wrapMode: Text.NoWrap
    }
    Column {
        id: content

        anchors.left: clock.right
        anchors.leftMargin: Theme.betweenRows
        anchors.right: copy.left
        anchors.rightMargin: Theme.inControl
        anchors.top: parent.top
        anchors.topMargin: Theme.betweenRows
        spacing: 2

        SVText {
            id: words

            objectName: "transcription." + row.index + ".text"
            isParagraph: true
            width: parent.width
            text: row.text
            maximumLineCount: row.isExpanded ? 100000 : 8
            elide: row.isExpanded ? Text.ElideNone : Text.ElideRight
        }
        LinkButton {
            visible: words.truncated || row.isExpanded
            focusPolicy: Qt.NoFocus
            leftPadding: 0
            text: row.isExpanded ? Texts.showLess : Texts.showAll
            onClicked: row.expansionWanted(!row.isExpanded)
        }
    }
    SymbolButton {
        id: copy

        objectName: "transcription." + row.index + ".copy"
        anchors.right: parent.right
        anchors.rightMargin: Theme.inControl
        anchors.top: parent.top
        anchors.topMargin: 6
        // Always takes up its space, so that the text does not move.
        opacity: row.isHovered || row.activeFocus || row.copied ? 1 : 0
        focusPolicy: Qt.NoFocus
        symbol: row.copied ? "checkmark" : "doc.on.doc"
        text: row.copied ? Texts.copied : Texts.copy
        hint: Texts.copy
        onClicked: row.copyWanted()
    }
}
