import QtQuick
import QtQuick.Controls.Basic

/// The menu at the tray.
FocusScope {
    id: menu

    required property var model
    property bool isChoosingLanguage: false
    readonly property int wantedHeight: Math.min(content.implicitHeight + 2 * 9, 640)

    signal closeRequested

    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
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

    Column {
        id: content

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 9
        spacing: 4

        Item {
            width: parent.width
            height: Theme.hitHeight + 4

            SVStatusDot {
                id: dot

                objectName: "statusDot"
                state_: menu.model.state
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
                    // The beginning says which one it is; the whole of a long dictation is not for here.
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

        Flickable {
            id: languageList

            objectName: "languages"
            visible: menu.isChoosingLanguage
            width: parent.width
            height: visible ? Math.min(languages.height, 180) : 0
            contentHeight: languages.height
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
            }

            Column {
                id: languages

                width: parent.width

                Repeater {
                    model: menu.model.languages

                    SVMenuRow {
                        id: offered

                        required property var modelData

                        objectName: "language." + modelData.code
                        width: languages.width
                        symbol: menu.model.language === modelData.code ? "checkmark" : ""
                        text: modelData.label
                        onActiveFocusChanged: if (activeFocus)
                            languageList.contentY = Math.max(0, Math.min(y, languages.height - languageList.height))
                        onClicked: {
                            menu.model.selectLanguage(modelData.code);
                            menu.isChoosingLanguage = false;
                            languageRow.forceActiveFocus();
                        }
                    }
                }
            }
        }

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
