import QtQuick
import SonVale

/// A tab whose content is one column under a title.
ScrollPage {
    id: page

    property alias title: heading.text
    /// A line under the title; none when it is empty.
    property alias subtitle: line.text

    columnWidth: 720
    isTopAligned: true
    spacing: Theme.betweenCards

    Column {
        width: parent.width
        spacing: 4

        SVText {
            id: heading

            objectName: "title"
            width: parent.width
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        SVText {
            id: line

            objectName: "subtitle"
            isParagraph: true
            width: parent.width
            visible: text !== ""
            color: Theme.secondaryText
        }
    }
}
