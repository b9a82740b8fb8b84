import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A slider with a few whole steps.
Slider {
    id: slider

    property string label

    implicitHeight: Theme.hitHeight
    implicitWidth: 240
    snapMode: Slider.SnapAlways
    focusPolicy: Qt.StrongFocus
    Accessible.name: label

    background: Rectangle {
        x: slider.leftPadding
        y: slider.topPadding + (slider.availableHeight - height) / 2
        width: slider.availableWidth
        height: 4
        radius: 2
        color: Theme.hairline

        Rectangle {
            x: slider.mirrored ? parent.width - width : 0
            width: slider.position * parent.width
            height: parent.height
            radius: 2
            color: Theme.accent
        }
    }
    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: slider.topPadding + (slider.availableHeight - height) / 2
        width: 20
        height: 20
        radius: 10
        color: slider.pressed ? Theme.raised : Theme.surface
        border.width: 2
        border.color: Theme.accent

        FocusRing {
            control: slider
            controlRadius: 10
        }
    }
}
