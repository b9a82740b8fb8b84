import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A small button with a plus, which adds an entry to the list above.
AbstractButton {
    id: button

    implicitWidth: content.implicitWidth + Theme.inControl
    implicitHeight: Theme.hitHeight
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: if (enabled)
        button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Item {
        FocusRing {
            control: button
            anchors.margins: -2
        }
    }

    contentItem: Item {
        Row {
            id: content

            anchors.verticalCenter: parent.verticalCenter
            spacing: 4

            Symbol {
                name: "plus"
                size: 14
                color: words.color
                anchors.verticalCenter: parent.verticalCenter
            }
            SVText {
                id: words

                text: button.text
                font: Theme.caption
                color: button.enabled && button.hovered ? Theme.text : Theme.secondaryText
                wrapMode: Text.NoWrap
            }
        }
    }
}
