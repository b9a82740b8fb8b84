import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A button that shows only a symbol. Its words are for screen readers and the tool tip.
AbstractButton {
    id: button

    property string symbol
    property color symbolColor: Theme.secondaryText
    property int symbolSize: 18
    /// The tool tip; empty for none.
    property string hint

    implicitWidth: Theme.hitHeight
    implicitHeight: Theme.hitHeight
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : 0.45
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: if (enabled)
        button.clicked()
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()

    ToolTip.text: hint
    ToolTip.visible: hint !== "" && hovered
    ToolTip.delay: 600

    background: Rectangle {
        radius: Theme.controlRadius
        color: button.down ? Theme.hairline : button.enabled && button.hovered ? Theme.raised : "transparent"

        FocusRing {
            control: button
            anchors.margins: -2
        }
    }

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: button.symbol
            size: button.symbolSize
            color: button.symbolColor
        }
    }
}
