import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The filled button of a screen's one main action; dimmed while it is disabled.
Button {
    id: button

    /// Whether another button of the screen is its main one now.
    property bool isQuiet: false
    /// Before the words; none when it is empty.
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
