import QtQuick
import SonVale

/// A small disc in the colour of the state.
Rectangle {
    /// A case's name: idle, recording, processing or processingHandsFree.
    property string state_: "idle"

    implicitWidth: 10
    implicitHeight: 10
    radius: width / 2
    color: state_ === "recording" ? Theme.accent : state_ === "idle" ? Theme.secondaryText : Theme.good

    Behavior on color  {
        ColorAnimation {
            duration: Theme.motion
        }
    }
}
