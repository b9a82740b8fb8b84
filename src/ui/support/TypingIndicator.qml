import QtQuick
import SonVale

/// Three dots that light up in turn until the first words of an answer arrive.
Row {
    id: indicator

    property int active: 0

    spacing: 5
    Accessible.role: Accessible.StaticText
    Accessible.name: Texts.waitingForAnswer

    Timer {
        interval: 300
        repeat: true
        running: indicator.visible && Theme.motion > 0
        onTriggered: indicator.active = (indicator.active + 1) % 3
    }
    Repeater {
        model: 3

        Rectangle {
            required property int index

            width: 7
            height: 7
            radius: 3.5
            color: Theme.secondaryText
            opacity: index === indicator.active ? 1 : 0.3

            Behavior on opacity  {
                NumberAnimation {
                    duration: Theme.motion
                    easing.type: Easing.OutCubic
                }
            }
        }
    }
}
