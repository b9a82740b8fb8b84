import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// One of a few choices in a row.
AbstractButton {
    id: button

    property bool isSelected: false

    implicitHeight: 36
    implicitWidth: words.implicitWidth + 2 * 14
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: isSelected
    Accessible.onPressAction: if (enabled)
        button.clicked()
    // Assistive technology cannot press a radio button of Qt 6.8.
    Accessible.onToggleAction: if (enabled)
        button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Rectangle {
        radius: height / 2
        color: button.isSelected ? Theme.accent : button.down ? Theme.hairline : button.enabled && button.hovered ? Theme.raised : Theme.surface
        border.width: button.isSelected ? 0 : 1
        border.color: Theme.hairline

        FocusRing {
            control: button
            controlRadius: 18
        }
    }
    contentItem: SVText {
        id: words

        text: button.text
        font: Theme.rowTitle
        color: button.isSelected ? Theme.textOnAccent : Theme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.NoWrap
    }
}
