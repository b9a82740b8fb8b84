import QtQuick
import SonVale

/// The content of a button: an optional symbol and its words.
Item {
    id: label

    property string symbol
    property alias text: words.text
    property color color: Theme.text

    implicitWidth: line.implicitWidth
    implicitHeight: line.implicitHeight

    Row {
        id: line

        anchors.centerIn: parent
        spacing: 6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: label.symbol !== ""
            name: label.symbol
            size: 16
            color: label.color
        }
        SVText {
            id: words

            width: Math.min(implicitWidth, label.width - (label.symbol === "" ? 0 : 22))
            font: Theme.rowTitle
            color: label.color
            wrapMode: Text.NoWrap
            elide: Text.ElideRight
        }
    }
}
