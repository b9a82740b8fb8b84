import QtQuick
import SonVale

/// One setting: its name, its description, and its control at the end.
Item {
    id: row

    property string title
    property string explanation
    default property alias control: holder.data

    implicitHeight: Math.max(words.height, holder.childrenRect.height, Theme.hitHeight)

    Column {
        id: words

        anchors.left: parent.left
        anchors.right: holder.left
        anchors.rightMargin: Theme.inCard
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        SVText {
            width: parent.width
            text: row.title
            font: Theme.rowTitle
        }
        SVText {
            width: parent.width
            visible: text !== ""
            text: row.explanation
            font: Theme.caption
            color: Theme.secondaryText
            lineHeight: Theme.lineHeight
        }
    }
    Item {
        id: holder

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        width: childrenRect.width
        height: childrenRect.height
    }
}
