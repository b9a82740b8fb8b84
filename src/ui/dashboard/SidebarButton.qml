import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A tab in the sidebar.
AbstractButton {
    id: button

    required property DashboardTab tab
    property bool isSelected: false

    objectName: "sidebar." + tab.name
    text: tab.label
    implicitHeight: Theme.hitHeight + 4
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.PageTab
    Accessible.name: text
    Accessible.selected: isSelected
    Accessible.onPressAction: if (enabled)
        button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()
    Keys.onUpPressed: button.nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
    Keys.onDownPressed: button.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)

    background: Rectangle {
        radius: Theme.controlRadius
        color: button.isSelected ? Theme.tint(Theme.accent, 0.12) : button.down ? Theme.hairline : button.enabled && button.hovered ? Theme.raised : "transparent"

        FocusRing {
            control: button
            anchors.margins: -2
        }
    }

    contentItem: Item {
        Symbol {
            id: sign

            anchors.left: parent.left
            anchors.leftMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            name: button.tab.icon
            color: button.isSelected ? Theme.accent : Theme.secondaryText
        }
        SVText {
            anchors.left: sign.right
            anchors.leftMargin: Theme.inControl + 2
            anchors.right: parent.right
            anchors.rightMargin: Theme.inControl
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font: Theme.rowTitle
            color: button.isSelected ? Theme.accent : Theme.text
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
        }
    }
}
