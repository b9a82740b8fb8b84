import QtQuick
import QtQuick.Window
import QtQuick.Controls.Basic
import SonVale

/// The menu at the tray.
FocusScope {
    id: menu

    required property MenuModel model
    property bool isChoosingLanguage: false
    readonly property int edge: 9
    readonly property int wantedHeight: Math.min(content.implicitHeight + foot.implicitHeight + page.gap + 2 * edge, 640)

    signal closeRequested

    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    implicitWidth: 320
    implicitHeight: wantedHeight
    focus: true
    Keys.onEscapePressed: menu.isChoosingLanguage ? menu.isChoosingLanguage = false : menu.closeRequested()

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
        border.width: 1
        border.color: Theme.hairline
    }

    Flickable {
        id: page

        readonly property int gap: 4
        readonly property Item focusItem: Window.activeFocusItem

        /// Scrolls to the item that has the keyboard.
        function reveal(item) {
            var top = item.mapToItem(content, 0, 0).y;
            if (top < contentY)
                contentY = top;
            else if (top + item.height > contentY + height)
                contentY = top + item.height - height;
        }
        function holds(item) {
            for (var each = item; each; each = each.parent) {
                if (each === content)
                    return true;
            }
            return false;
        }
        /// Scrolls to the end of the page, where the languages are.
        function showLanguages() {
            if (menu.isChoosingLanguage)
                contentY = Math.max(0, contentHeight - height);
        }

        objectName: "page"
        onFocusItemChanged: if (focusItem && holds(focusItem))
            reveal(focusItem)
        onContentHeightChanged: showLanguages()
        onHeightChanged: showLanguages()
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: foot.top
        anchors.margins: menu.edge
        anchors.bottomMargin: gap
        contentHeight: content.implicitHeight
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        // Next to the rows, at the edge of the menu.
        ScrollBar.vertical: ScrollBar {
            parent: menu
            anchors.right: parent.right
            anchors.rightMargin: 1
            anchors.top: page.top
            anchors.bottom: page.bottom
            width: menu.edge - 1
            policy: page.contentHeight > page.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        }

        Column {
            id: content

            width: page.width
            spacing: 4

            Item {
                width: parent.width
                height: Theme.hitHeight + 4

                SVStatusDot {
                    id: dot

                    objectName: "statusDot"
                    recordingState: menu.model.state
                    x: 13
                    anchors.verticalCenter: parent.verticalCenter
                }
                SVText {
                    objectName: "status"
                    anchors.left: dot.right
                    anchors.leftMargin: Theme.inControl + 7
                    anchors.verticalCenter: parent.verticalCenter
                    text: menu.model.statusText
                    font: Theme.rowTitle
                    Accessible.role: Accessible.StatusBar
                    Accessible.name: text
                }
            }

            SVText {
                objectName: "error"
                isParagraph: true
                visible: text !== ""
                width: parent.width - 2 * Theme.inControl
                x: Theme.inControl
                text: menu.model.errorMessage
                color: Theme.danger
                font: Theme.caption
                maximumLineCount: 4
                elide: Text.ElideRight
            }

            Rectangle {
                objectName: "transcription"

                readonly property real shownHeight: words.contentHeight * Math.min(1, 4 / Math.max(1, words.lineCount))

                width: parent.width
                height: Math.max(shownHeight + 2 * Theme.betweenRows, 56)
                radius: Theme.controlRadius
                color: Theme.raised

                Symbol {
                    id: wave

                    name: "waveform"
                    color: Theme.secondaryText
                    visible: menu.model.lastTranscription === ""
                    x: Theme.betweenRows
                    anchors.verticalCenter: parent.verticalCenter
                }
                Flickable {
                    id: scroll

                    anchors.left: wave.visible ? wave.right : parent.left
                    anchors.right: copy.visible ? copy.left : parent.right
                    anchors.leftMargin: Theme.betweenRows
                    anchors.rightMargin: Theme.inControl
                    anchors.verticalCenter: parent.verticalCenter
                    height: parent.shownHeight
                    contentHeight: words.contentHeight
                    clip: true
                    interactive: contentHeight > height
                    boundsBehavior: Flickable.StopAtBounds

                    SVText {
                        id: words

                        objectName: "transcriptionText"
                        isParagraph: menu.model.lastTranscription !== ""
                        width: scroll.width
                        // The beginning identifies the transcript. The menu has no room for a long one.
                        text: menu.model.lastTranscription === "" ? Texts.startHint : menu.model.lastTranscription.substring(0, 2000)
                        color: menu.model.lastTranscription === "" ? Theme.secondaryText : Theme.text
                    }
                }
                SymbolButton {
                    id: copy

                    objectName: "copy"
                    visible: menu.model.lastTranscription !== ""
                    anchors.right: parent.right
                    anchors.rightMargin: 6
                    anchors.top: parent.top
                    anchors.topMargin: 6
                    symbol: "doc.on.doc"
                    text: Texts.copy
                    onClicked: menu.model.copyLastTranscript()
                }
            }

            SVSeparator {
                width: parent.width
            }

            SVMenuRow {
                objectName: "dashboard"
                width: parent.width
                focus: true
                symbol: "macwindow"
                text: Texts.dashboard
                onClicked: menu.model.openDashboard()
            }

            SVSeparator {
                width: parent.width
            }

            SVMenuRow {
                objectName: "copyLast"
                width: parent.width
                symbol: "doc.on.doc"
                text: Texts.copyLast
                isDisabled: menu.model.lastTranscription === ""
                onClicked: {
                    menu.model.copyLastTranscript();
                    menu.closeRequested();
                }
            }
            SVMenuRow {
                objectName: "pasteLast"
                width: parent.width
                symbol: "doc.on.clipboard"
                text: Texts.pasteLast
                shortcut: Texts.pasteLastShortcut
                isDisabled: menu.model.lastTranscription === ""
                onClicked: menu.model.pasteLastTranscript()
            }

            SVSeparator {
                width: parent.width
            }

            SVMenuRow {
                objectName: "shortcuts"
                width: parent.width
                symbol: "keyboard"
                text: Texts.shortcuts
                onClicked: menu.model.openDashboard()
            }
            SVMenuRow {
                id: languageRow

                objectName: "language"
                width: parent.width
                symbol: "globe"
                text: Texts.language
                shortcut: menu.model.languageName
                Accessible.description: menu.model.languageName
                rightPadding: 24
                onClicked: menu.isChoosingLanguage = !menu.isChoosingLanguage

                Symbol {
                    anchors.right: parent.right
                    anchors.rightMargin: 4
                    anchors.verticalCenter: parent.verticalCenter
                    name: "chevron.right"
                    size: 16
                    color: Theme.secondaryText
                    rotation: menu.isChoosingLanguage ? 90 : 0

                    Behavior on rotation  {
                        NumberAnimation {
                            duration: Theme.motion
                            easing.type: Easing.OutCubic
                        }
                    }
                }
            }

            Column {
                id: languages

                objectName: "languages"
                visible: menu.isChoosingLanguage
                width: parent.width

                Repeater {
                    model: menu.model.languages

                    SVMenuRow {
                        required property languageChoice modelData

                        objectName: "language." + modelData.code
                        width: languages.width
                        symbol: menu.model.language === modelData.code ? "checkmark" : ""
                        text: modelData.label
                        onClicked: {
                            menu.model.selectLanguage(modelData.code);
                            menu.isChoosingLanguage = false;
                            languageRow.forceActiveFocus();
                        }
                    }
                }
            }
        }
    }

    Column {
        id: foot

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: menu.edge
        spacing: 4

        SVSeparator {
            width: parent.width
        }
        SVMenuRow {
            objectName: "quit"
            width: parent.width
            symbol: "power"
            text: Texts.quit
            onClicked: menu.model.quit()
        }
    }
}
