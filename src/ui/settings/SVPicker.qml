import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A drop-down list.
ComboBox {
    id: picker

    property string label

    implicitWidth: 176
    implicitHeight: 36
    font: Theme.body
    focusPolicy: Qt.StrongFocus
    Accessible.name: label
    Accessible.onPressAction: if (enabled)
        popup.open()
    Keys.onReturnPressed: popup.visible ? activate() : popup.open()

    function activate() {
        activated(highlightedIndex);
        popup.close();
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: picker.down ? Theme.hairline : picker.enabled && picker.hovered ? Theme.raised : Theme.surface
        border.width: 1
        border.color: Theme.fieldLine

        FocusRing {
            control: picker
        }
    }
    indicator: Symbol {
        x: picker.mirrored ? 10 : picker.width - width - 10
        y: (picker.height - height) / 2
        name: "chevron.right"
        size: 14
        rotation: 90
        color: Theme.secondaryText
    }
    contentItem: SVText {
        leftPadding: picker.mirrored ? 28 : 12
        rightPadding: picker.mirrored ? 12 : 28
        text: picker.displayText
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        wrapMode: Text.NoWrap
    }
    delegate: ItemDelegate {
        id: choice

        required property int index
        required property string modelData

        objectName: "choice." + modelData
        width: ListView.view.width
        height: Theme.hitHeight + 2
        text: modelData
        highlighted: picker.highlightedIndex === index
        Accessible.name: text

        background: Rectangle {
            radius: Theme.controlRadius
            color: choice.highlighted ? Theme.raised : "transparent"
        }
        contentItem: SVText {
            text: choice.text
            color: picker.currentIndex === choice.index ? Theme.accent : Theme.text
            font: picker.currentIndex === choice.index ? Theme.rowTitle : Theme.body
            verticalAlignment: Text.AlignVCenter
            wrapMode: Text.NoWrap
        }
    }
    popup: Popup {
        y: picker.height + 4
        width: picker.width
        height: Math.min(contentItem.implicitHeight + 12, 380)
        padding: 6

        background: Rectangle {
            radius: Theme.controlRadius
            color: Theme.surface
            border.width: 1
            border.color: Theme.hairline
        }
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: picker.delegateModel
            currentIndex: picker.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {
            }
        }
    }
}
