import QtQuick
import SonVale

/// Settings that belong together, in a card under their heading.
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
