import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A line of the menu: a symbol, a title, and a shortcut at its end.
AbstractButton {
    id: row

    property string symbol
    property string shortcut
    property bool isDisabled: false

    implicitHeight: Theme.hitHeight + 4
    implicitWidth: 280
    enabled: !isDisabled
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: if (enabled)
        row.clicked()
    Keys.onReturnPressed: row.clicked()
    Keys.onEnterPressed: row.clicked()

    background: Rectangle {
        radius: Theme.controlRadius
        color: row.down ? Theme.hairline : row.enabled && row.hovered || row.visualFocus ? Theme.raised : "transparent"

        FocusRing {
            control: row
            anchors.margins: 0
            radius: Theme.controlRadius
        }
    }

    contentItem: Item {
        opacity: row.enabled ? 1 : 0.45

        Symbol {
            id: sign

            anchors.left: parent.left
            anchors.leftMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            name: row.symbol
            color: Theme.secondaryText
        }
        SVText {
            anchors.left: sign.right
            anchors.leftMargin: Theme.inControl + 2
            anchors.right: keys.left
            anchors.rightMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            text: row.text
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
        }
        SVText {
            id: keys

            anchors.right: parent.right
            anchors.rightMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            text: row.shortcut
            font: Theme.caption
            color: Theme.secondaryText
            wrapMode: Text.NoWrap
        }
    }
}
