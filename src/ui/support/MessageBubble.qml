import QtQuick
import SonVale

/// A block of a message. A long message has several blocks on one ground. The text is shown without
/// interpretation of markup, and can be selected.
Item {
    id: bubble

    required property int index
    required property string text
    required property bool isUser
    required property bool isFirst
    required property bool isLast
    /// Whether the message has the keyboard.
    property bool isCurrent: false

    readonly property bool isWhole: isFirst && isLast
    readonly property int widest: isUser ? Math.round(width * 0.78) : width - Theme.hitHeight - 8
    readonly property int air: 14
    readonly property color ground: isUser ? Qt.tint(Theme.window, Theme.tint(Theme.accent, Theme.isDark ? 0.26 : 0.14)) : Theme.surface

    signal copyWanted

    objectName: "message." + index
    height: area.height + (isLast ? Theme.betweenRows : 0)
    Accessible.role: Accessible.ListItem
    Accessible.name: isFirst ? (isUser ? Texts.yourMessage : Texts.supportMessage) + ": " + text : text

    HoverHandler {
        id: hover
    }
    Rectangle {
        id: area

        anchors.left: bubble.isUser ? undefined : parent.left
        anchors.right: bubble.isUser ? parent.right : undefined
        width: words.width + 2 * bubble.air
        height: words.height + (bubble.isFirst ? 10 : 0) + (bubble.isLast ? 10 : 0)
        radius: bubble.isWhole || bubble.isFirst || bubble.isLast ? Theme.cardRadius : 0
        color: bubble.ground

        // Between two blocks of a message, the ground has no round corners.
        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            height: Theme.cardRadius
            visible: !bubble.isFirst
            color: bubble.ground
        }
        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: Theme.cardRadius
            visible: !bubble.isLast
            color: bubble.ground
        }
        TextEdit {
            id: words

            objectName: "message." + bubble.index + ".text"
            anchors.horizontalCenter: parent.horizontalCenter
            y: bubble.isFirst ? 10 : 0
            width: bubble.isWhole ? Math.min(Math.ceil(implicitWidth), bubble.widest - 2 * bubble.air) : bubble.widest - 2 * bubble.air
            text: bubble.text
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            readOnly: true
            selectByMouse: true
            color: Theme.text
            font: Theme.body
            selectionColor: Theme.accent
            selectedTextColor: Theme.textOnAccent
            Accessible.ignored: true
        }
        FocusRing {
            anchors.margins: -3
            radius: Theme.cardRadius + 3
            visible: bubble.isCurrent && !words.activeFocus
        }
    }
    SymbolButton {
        objectName: "message." + bubble.index + ".copy"
        anchors.left: area.right
        anchors.leftMargin: 4
        anchors.bottom: area.bottom
        visible: !bubble.isUser && bubble.isLast
        opacity: hover.hovered || bubble.isCurrent ? 1 : 0
        focusPolicy: Qt.NoFocus
        symbol: "doc.on.doc"
        text: Texts.copy
        hint: Texts.copy
        onClicked: bubble.copyWanted()
    }
}
