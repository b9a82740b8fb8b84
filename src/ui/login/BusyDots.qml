import QtQuick
import SonVale

/// Three dots that light up in turn while a request runs.
Row {
    id: dots

    property color color: Theme.text

    spacing: 4

    Repeater {
        model: 3

        Rectangle {
            id: dot

            required property int index

            width: 5
            height: 5
            radius: 2.5
            color: dots.color

            SequentialAnimation on opacity  {
                running: dots.visible && Theme.motion > 0
                loops: Animation.Infinite

                PauseAnimation {
                    duration: dot.index * 160
                }
                NumberAnimation {
                    from: 0.35
                    to: 1
                    duration: 240
                    easing.type: Easing.OutCubic
                }
                NumberAnimation {
                    to: 0.35
                    duration: 400
                    easing.type: Easing.InOutSine
                }
                PauseAnimation {
                    duration: (2 - dot.index) * 160
                }
            }
        }
    }
}
