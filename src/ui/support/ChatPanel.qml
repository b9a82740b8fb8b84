import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The conversation, and the field for the next question. Return sends it; Shift+Return inserts a line break.
FocusScope {
    id: panel

    required property SupportChatModel model
    /// The support answers signed-in users only.
    property bool isSignedIn: true

    signal signInWanted

    function send() {
        list.sticks = list.sticks || model.canSend;
        model.send();
        editor.forceActiveFocus();
    }

    Item {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: Theme.pageEdge
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.betweenCards
        width: Math.min(720, parent.width - 2 * Theme.pageEdge)

        Column {
            id: heading

            anchors.left: parent.left
            anchors.right: clear.left
            anchors.rightMargin: Theme.inCard
            spacing: 4

            SVText {
                objectName: "title"
                width: parent.width
                text: Texts.support
                font: Theme.pageTitle
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            SVText {
                objectName: "subtitle"
                width: parent.width
                text: Texts.supportSubtitle
                color: Theme.secondaryText
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        PlainButton {
            id: clear

            objectName: "clear"
            anchors.right: parent.right
            anchors.verticalCenter: heading.verticalCenter
            text: Texts.clearConversation
            onClicked: {
                panel.model.clear();
                list.sticks = true;
                editor.forceActiveFocus();
            }
        }

        ListView {
            id: list

            /// Scrolls to the end, unless the user reads further up.
            property bool sticks: true
            readonly property bool isAtEnd: contentHeight - height - (contentY - originY) < 24

            function follow() {
                if (sticks)
                    positionViewAtEnd();
            }
            /// Moves by the visible part of a long message, then to the next message.
            function step(direction) {
                sticks = false;
                var item = currentItem;
                if (!item)
                    return;
                var hidden = direction > 0 ? item.y + item.height - contentY - height : contentY - item.y;
                if (hidden > 1) {
                    contentY += direction * Math.min(hidden, 80);
                } else {
                    currentIndex = Math.max(0, Math.min(count - 1, currentIndex + direction));
                    var isTall = currentItem.height > height;
                    positionViewAtIndex(currentIndex, !isTall ? ListView.Contain : direction > 0 ? ListView.Beginning : ListView.End);
                }
                sticks = isAtEnd;
            }

            objectName: "conversation"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: heading.bottom
            anchors.topMargin: Theme.betweenCards
            anchors.bottom: signInFirst.visible ? signInFirst.top : banner.visible ? banner.top : composer.top
            anchors.bottomMargin: Theme.betweenRows
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: true
            keyNavigationEnabled: false
            highlightFollowsCurrentItem: false
            model: panel.model.messages
            Accessible.role: Accessible.List
            Accessible.name: Texts.conversation
            Keys.onUpPressed: step(-1)
            Keys.onDownPressed: step(1)
            Keys.onPressed: event => {
                if (event.matches(StandardKey.Copy)) {
                    panel.model.copy(currentIndex);
                    event.accepted = true;
                }
            }
            onActiveFocusChanged: if (activeFocus && count > 0)
                currentIndex = count - 1
            onContentHeightChanged: Qt.callLater(follow) // qmllint disable
            onHeightChanged: Qt.callLater(follow) // qmllint disable
            onMovementStarted: sticks = false
            onMovementEnded: sticks = isAtEnd
            // The list knows its exact end only near the end.
            onIsAtEndChanged: if (isAtEnd && !moving)
                sticks = true

            ScrollBar.vertical: ScrollBar {
                onPressedChanged: list.sticks = !pressed && list.isAtEnd
            }
            delegate: MessageBubble {
                width: ListView.view.width
                isCurrent: ListView.isCurrentItem && list.activeFocus
                onCopyWanted: panel.model.copy(index)
            }
            footer: Item {
                width: list.width
                height: typing.visible ? typing.height + 2 * Theme.betweenRows : 1

                TypingIndicator {
                    id: typing

                    objectName: "typing"
                    anchors.left: parent.left
                    anchors.leftMargin: 14
                    anchors.top: parent.top
                    anchors.topMargin: Theme.betweenRows
                    visible: panel.model.isWaitingForFirstChunk
                }
            }
        }

        Rectangle {
            id: signInFirst

            objectName: "signInFirst"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: banner.visible ? banner.top : composer.top
            anchors.bottomMargin: Theme.betweenRows
            height: Math.max(request.height, way.height) + 2 * Theme.inControl
            radius: Theme.controlRadius
            color: Theme.raised
            visible: !panel.isSignedIn

            SVText {
                id: request

                anchors.left: parent.left
                anchors.leftMargin: Theme.betweenRows
                anchors.right: way.left
                anchors.rightMargin: Theme.betweenRows
                anchors.verticalCenter: parent.verticalCenter
                text: Texts.signInForSupport
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            PlainButton {
                id: way

                objectName: "signInForSupport"
                anchors.right: parent.right
                anchors.rightMargin: Theme.inControl
                anchors.verticalCenter: parent.verticalCenter
                text: Texts.signIn
                onClicked: panel.signInWanted()
            }
        }

        ErrorBanner {
            id: banner

            objectName: "error"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: composer.top
            anchors.bottomMargin: Theme.betweenRows
            visible: message !== ""
            message: panel.model.errorMessage
        }

        Item {
            id: composer

            objectName: "composer"
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: Math.min(Math.max(44, editor.implicitHeight + 2), 150)

            Rectangle {
                anchors.fill: parent
                radius: Theme.controlRadius
                color: Theme.surface
                border.width: 1
                border.color: Theme.fieldLine
            }
            ScrollView {
                anchors.left: parent.left
                anchors.right: send.left
                anchors.rightMargin: 4
                anchors.top: parent.top
                anchors.bottom: parent.bottom
                anchors.margins: 1
                ScrollBar.horizontal.policy: ScrollBar.AlwaysOff

                TextArea {
                    id: editor

                    function take(event) {
                        if (event.modifiers & Qt.ShiftModifier)
                            event.accepted = false;
                        else
                            panel.send();
                    }

                    objectName: "input"
                    focus: true
                    text: panel.model.inputText
                    color: Theme.text
                    font: Theme.body
                    placeholderText: Texts.describeIssue
                    placeholderTextColor: Theme.secondaryText
                    selectByMouse: true
                    selectionColor: Theme.accent
                    selectedTextColor: Theme.textOnAccent
                    padding: 12
                    textFormat: TextEdit.PlainText
                    wrapMode: TextEdit.Wrap
                    Accessible.name: Texts.describeIssue
                    KeyNavigation.priority: KeyNavigation.BeforeItem
                    KeyNavigation.tab: editor.nextItemInFocusChain(true)
                    KeyNavigation.backtab: editor.nextItemInFocusChain(false)
                    Keys.onReturnPressed: event => take(event)
                    Keys.onEnterPressed: event => take(event)
                    onTextChanged: panel.model.inputText = text
                }
            }
            SymbolButton {
                id: send

                objectName: "send"
                anchors.right: parent.right
                anchors.rightMargin: 6
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 6
                enabled: panel.model.canSend
                symbol: "arrow.up.circle.fill"
                symbolColor: enabled ? Theme.accent : Theme.secondaryText
                symbolSize: 24
                text: Texts.send
                onClicked: panel.send()
            }
            FocusRing {
                control: editor
                anchors.margins: -3
            }
        }
    }
}
