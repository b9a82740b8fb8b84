import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A button that shows only words, of which a part may be bold.
AbstractButton {
    id: link

    /// The color of the words under the pointer.
    property color litColor: Theme.text

    implicitHeight: Theme.hitHeight
    implicitWidth: words.implicitWidth + 2 * Theme.inControl
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : 0.5
    Accessible.role: Accessible.Button
    Accessible.name: text.replace(/<[^>]*>/g, "")
    Accessible.onPressAction: if (enabled)
        link.clicked()
    Keys.onReturnPressed: link.clicked()
    Keys.onEnterPressed: link.clicked()

    background: Item {
        FocusRing {
            control: link
            anchors.margins: -2
        }
    }

    contentItem: Text {
        id: words

        text: link.text
        textFormat: Text.StyledText
        font: Theme.body
        color: link.enabled && link.hovered ? link.litColor : Theme.secondaryText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}
