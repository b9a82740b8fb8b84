import QtQuick
import SonVale

/// An error, shown until the next try.
Rectangle {
    id: banner

    property string message

    implicitHeight: words.height + 2 * Theme.betweenRows
    radius: Theme.controlRadius
    color: Theme.tint(Theme.danger, 0.12)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    Symbol {
        id: sign

        anchors.left: parent.left
        anchors.leftMargin: Theme.betweenRows
        anchors.verticalCenter: parent.verticalCenter
        name: "exclamationmark.triangle"
        color: Theme.danger
    }
    SVText {
        id: words

        objectName: "errorMessage"
        anchors.left: sign.right
        anchors.leftMargin: Theme.inControl
        anchors.right: parent.right
        anchors.rightMargin: Theme.betweenRows
        anchors.verticalCenter: parent.verticalCenter
        text: banner.message
        color: Theme.text
        Accessible.ignored: true
    }
}
