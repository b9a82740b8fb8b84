import QtQuick
import SonVale

/// A small disc in the color of the recording state.
Rectangle {
    /// A `MenuModel.State`.
    required property int recordingState

    implicitWidth: 10
    implicitHeight: 10
    radius: width / 2
    color: recordingState === MenuModel.Recording ? Theme.accent : recordingState === MenuModel.Idle ? Theme.secondaryText : Theme.good

    Behavior on color  {
        ColorAnimation {
            duration: Theme.motion
        }
    }
}
