import QtQuick
import SonVale

/// The ring on its dark ground. While it is off, it shows a microphone instead.
Rectangle {
    id: sample

    property bool isOn: true
    property alias isWorking: ring.isWorking
    property alias ringName: ring.objectName

    implicitWidth: 120
    implicitHeight: 120
    radius: width / 2
    color: Theme.ringGround
    border.width: 1
    border.color: Theme.hairline

    Symbol {
        anchors.centerIn: parent
        visible: !sample.isOn
        name: "mic"
        size: 32
        color: Theme.ringRest
    }
    Ring {
        id: ring

        anchors.centerIn: parent
        width: parent.width - 12
        height: parent.height - 12
        visible: sample.isOn
        isStill: Theme.motion === 0
    }
}
