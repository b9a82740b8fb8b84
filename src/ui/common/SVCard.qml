import QtQuick
import SonVale

/// A surface with its content at the top.
Rectangle {
    id: card

    default property alias content: holder.data
    property int padding: Theme.inCard

    implicitWidth: holder.childrenRect.width + 2 * padding
    implicitHeight: holder.childrenRect.height + 2 * padding
    radius: Theme.cardRadius
    color: Theme.surface
    border.width: 1
    border.color: Theme.hairline

    Item {
        id: holder

        anchors.fill: parent
        anchors.margins: card.padding
    }
}
