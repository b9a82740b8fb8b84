import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A shortcut as a row of small key caps. Its menu has the actions for it.
AbstractButton {
    id: view

    required property shortcutLine config
    property bool isRemovable: false

    signal reRecordWanted
    signal removeWanted

    function openMenu() {
        menu.popup(view, 0, view.height + 2);
    }

    implicitWidth: caps.implicitWidth
    implicitHeight: Theme.hitHeight
    text: config.name
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.ButtonMenu
    Accessible.name: text
    Accessible.onPressAction: view.openMenu()
    onClicked: view.openMenu()
    Keys.onReturnPressed: view.openMenu()
    Keys.onEnterPressed: view.openMenu()
    Keys.onMenuPressed: view.openMenu()
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier) {
            view.openMenu();
            event.accepted = true;
        }
    }

    background: Item {
        FocusRing {
            control: view
            anchors.margins: -2
        }
    }

    contentItem: Item {
        Row {
            id: caps

            anchors.verticalCenter: parent.verticalCenter
            spacing: 4

            Repeater {
                model: view.config.pills

                Rectangle {
                    required property string modelData

                    width: Math.max(height, cap.implicitWidth + 2 * Theme.inControl)
                    height: 26
                    radius: 6
                    color: view.down || view.hovered || menu.visible ? Theme.hairline : Theme.raised

                    SVText {
                        id: cap

                        anchors.centerIn: parent
                        text: parent.modelData
                        font: Theme.caption
                        wrapMode: Text.NoWrap
                    }
                }
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.RightButton
        onClicked: view.openMenu()
    }

    Menu {
        id: menu

        objectName: "pillMenu"
        padding: 4

        background: Rectangle {
            implicitWidth: 160
            radius: Theme.controlRadius
            color: Theme.surface
            border.width: 1
            border.color: Theme.hairline
        }

        Repeater {
            model: view.isRemovable ? ["reRecord", "remove"] : ["reRecord"]

            MenuItem {
                id: choice

                required property string modelData
                readonly property bool isDestructive: modelData === "remove"

                objectName: modelData
                implicitHeight: Theme.hitHeight
                text: isDestructive ? Texts.removeShortcut : Texts.reRecord
                Accessible.name: text
                Accessible.onPressAction: choice.triggered()
                onTriggered: isDestructive ? view.removeWanted() : view.reRecordWanted()

                background: Rectangle {
                    radius: Theme.controlRadius - 2
                    color: choice.highlighted || choice.hovered ? Theme.raised : "transparent"

                    FocusRing {
                        anchors.margins: 0
                        control: choice
                        radius: Theme.controlRadius - 2
                        visible: choice.highlighted
                    }
                }
                contentItem: SVText {
                    text: choice.text
                    color: choice.isDestructive ? Theme.danger : Theme.text
                    verticalAlignment: Text.AlignVCenter
                    wrapMode: Text.NoWrap
                }
            }
        }
    }
}
