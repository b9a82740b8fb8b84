import QtQuick
import SonVale

/// A tab with one column of content under a title.
ScrollPage {
    id: page

    property alias title: heading.text
    /// The line under the title; hidden if it is empty.
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
