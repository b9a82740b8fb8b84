import QtQuick
import SonVale

/// A card with a heading for related settings.
Column {
    id: section

    property string title
    default property alias content: rows.data

    width: parent ? parent.width : 0
    spacing: Theme.inControl

    SVText {
        width: parent.width
        text: section.title
        font: Theme.section
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    SVCard {
        width: parent.width
        implicitHeight: rows.height + 2 * padding

        Column {
            id: rows

            width: parent.width
            spacing: Theme.inCard
        }
    }
}
