import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A secondary button.
Button {
    id: button

    /// The name of the symbol before the words; empty for no symbol.
    property string symbol

    implicitHeight: 40
    implicitWidth: Math.max(80, words.implicitWidth + 2 * 16)
    opacity: enabled ? 1 : 0.5
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: text
    Accessible.onPressAction: if (enabled)
        button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    background: Rectangle {
        radius: Theme.controlRadius
        color: button.down ? Theme.hairline : button.enabled && button.hovered ? Theme.raised : "transparent"
        border.width: 1
        border.color: Theme.hairline

        FocusRing {
            control: button
        }
    }

    contentItem: ButtonLabel {
        id: words

        symbol: button.symbol
        text: button.text
        color: Theme.text
    }
}
