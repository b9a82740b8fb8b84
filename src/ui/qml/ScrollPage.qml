import QtQuick
import QtQuick.Controls.Basic

/// A page whose content stands in its middle and scrolls when there is more of it than room.
Flickable {
    id: page

    default property alias content: column.data
    /// The height that the content is centred by, at least, so that its beginning does not jump between contents
    /// of different heights.
    property int steadyHeight: 0
    /// For a content that comes in from a side.
    property real shift: 0
    property alias contentOpacity: column.opacity
    property int columnWidth: 520
    property alias spacing: column.spacing

    contentWidth: width
    contentHeight: Math.max(column.height + 2 * Theme.pageEdge, height)
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    ScrollBar.vertical: ScrollBar {
    }

    Column {
        id: column

        width: Math.min(page.columnWidth, page.width - 2 * Theme.pageEdge)
        x: (page.width - width) / 2
        y: Math.max(Theme.pageEdge, (page.height - Math.max(height, page.steadyHeight)) / 2)
        spacing: Theme.inCard
        transform: Translate {
            x: page.shift
        }
    }
}
