import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// An engine to choose, with its advantages.
AbstractButton {
    id: card

    property string icon_
    property string title
    property string description
    property string badge
    property bool isSelected: false

    text: title
    implicitHeight: content.height + 2 * Theme.betweenRows
    opacity: enabled ? 1 : 0.5
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.RadioButton
    Accessible.name: title
    Accessible.checkable: true
    Accessible.checked: isSelected
    Accessible.description: description
    Accessible.onPressAction: if (enabled)
        card.clicked()
    // Assistive technology cannot press a radio button of Qt 6.8.
    Accessible.onToggleAction: if (enabled)
        card.clicked()
    Keys.onReturnPressed: card.clicked()
    Keys.onEnterPressed: card.clicked()

    background: Rectangle {
        radius: Theme.controlRadius
        color: card.isSelected ? Theme.tint(Theme.accent, 0.1) : card.down ? Theme.hairline : card.enabled && card.hovered ? Theme.raised : "transparent"
        border.width: 1
        border.color: card.isSelected ? Theme.accent : Theme.hairline

        FocusRing {
            control: card
        }
    }

    contentItem: Item {
        Symbol {
            id: sign

            anchors.left: parent.left
            anchors.leftMargin: Theme.betweenRows
            anchors.verticalCenter: parent.verticalCenter
            name: card.icon_
            color: card.isSelected ? Theme.accent : Theme.secondaryText
        }
        Column {
            id: content

            anchors.left: sign.right
            anchors.leftMargin: Theme.betweenRows
            anchors.right: check.left
            anchors.rightMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            Row {
                spacing: Theme.inControl

                SVText {
                    id: name

                    text: card.title
                    font: Theme.rowTitle
                    wrapMode: Text.NoWrap
                }
                Rectangle {
                    visible: card.badge !== ""
                    anchors.verticalCenter: name.verticalCenter
                    width: words.width + 2 * Theme.inControl
                    height: 20
                    radius: height / 2
                    color: Theme.tint(Theme.accent, 0.12)

                    SVText {
                        id: words

                        anchors.centerIn: parent
                        text: card.badge
                        font: Theme.caption
                        color: Theme.accent
                        wrapMode: Text.NoWrap
                    }
                }
            }
            SVText {
                width: parent.width
                text: card.description
                font: Theme.caption
                color: Theme.secondaryText
                lineHeight: Theme.lineHeight
            }
        }
        Symbol {
            id: check

            anchors.right: parent.right
            anchors.rightMargin: Theme.betweenRows
            anchors.verticalCenter: parent.verticalCenter
            name: card.isSelected ? "checkmark" : ""
            color: Theme.accent
        }
    }
}
