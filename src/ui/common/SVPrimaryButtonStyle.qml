import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The filled button for the main action of a screen; dimmed while it is disabled.
Button {
    id: button

    /// Whether another button of the screen is the main one now.
    property bool isQuiet: false
    /// The name of the symbol before the words; empty for no symbol.
    property string symbol
    readonly property color quietGround: down ? Theme.hairline : enabled && hovered ? Theme.raised : Theme.surface
    readonly property color filledGround: down ? Qt.darker(Theme.accent, 1.15) : enabled && hovered ? Qt.darker(Theme.accent, 1.07) : Theme.accent

    implicitHeight: 40
    implicitWidth: Math.max(120, words.implicitWidth + 2 * 20)
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
        color: button.isQuiet ? button.quietGround : button.filledGround
        border.width: button.isQuiet ? 1 : 0
        border.color: Theme.hairline

        FocusRing {
            control: button
        }
    }

    contentItem: ButtonLabel {
        id: words

        symbol: button.symbol
        text: button.text
        color: button.isQuiet ? Theme.text : Theme.textOnAccent
    }
}
