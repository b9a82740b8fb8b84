import QtQuick
import SonVale

/// A counter with its symbol and its label.
Rectangle {
    id: pill

    required property string name
    required property string icon
    required property color iconColor
    required property string value
    required property string label

    objectName: "stats." + name
    width: line.width + 2 * 14
    height: 36
    radius: height / 2
    color: Theme.surface
    border.width: 1
    border.color: Theme.hairline
    Accessible.role: Accessible.StaticText
    Accessible.name: value + " " + label

    Row {
        id: line

        anchors.centerIn: parent
        spacing: 6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: pill.icon
            size: 16
            color: pill.iconColor
        }
        SVText {
            objectName: "stats." + pill.name + ".value"
            anchors.verticalCenter: parent.verticalCenter
            text: pill.value
            font: Theme.rowTitle
        }
        SVText {
            anchors.verticalCenter: parent.verticalCenter
            text: pill.label
            color: Theme.secondaryText
        }
    }
}
