import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A switch in the style of the settings.
Switch {
    id: control

    /// Toggles the switch as a click does.
    function turn() {
        if (!enabled)
            return;
        toggle();
        toggled();
        clicked();
    }

    implicitWidth: 44
    implicitHeight: Theme.hitHeight
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: turn()
    Accessible.onToggleAction: turn()

    indicator: Rectangle {
        x: (control.width - width) / 2
        y: (control.height - height) / 2
        width: 40
        height: 24
        radius: 12
        color: control.checked ? Theme.accent : Theme.raised
        border.width: 1
        border.color: control.checked ? Theme.accent : Theme.fieldLine

        Behavior on color  {
            ColorAnimation {
                duration: Theme.motion
            }
        }

        Rectangle {
            x: control.checked ? parent.width - width - 3 : 3
            y: 3
            width: 18
            height: 18
            radius: 9
            color: control.checked ? Theme.textOnAccent : Theme.secondaryText

            Behavior on x  {
                NumberAnimation {
                    duration: Theme.motion
                    easing.type: Easing.OutCubic
                }
            }
        }

        FocusRing {
            control: control
            controlRadius: 12
            anchors.fill: parent
        }
    }

    contentItem: Item {
    }
}
