import QtQuick
import SonVale

/// A ring in one of its two colors, with the meaning of the color.
Column {
    id: sample

    required property string name
    required property string text
    property alias isWorking: ring.isWorking

    spacing: Theme.inControl

    RingSample {
        id: ring

        objectName: sample.name + "Sample"
        ringName: sample.name + "Ring"
        anchors.horizontalCenter: parent.horizontalCenter
        Accessible.role: Accessible.Graphic
        Accessible.name: sample.text
    }
    SVText {
        anchors.horizontalCenter: parent.horizontalCenter
        text: sample.text
        font: Theme.rowTitle
    }
}
