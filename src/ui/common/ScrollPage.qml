import QtQuick
import QtQuick.Window
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import SonVale

/// A page with its content in the middle. It scrolls if the content is higher than the page.
Flickable {
    id: page

    default property alias content: column.data
    /// The minimum height by which the content is centered, so that its top does not jump between contents of
    /// different heights.
    property int steadyHeight: 0
    /// The horizontal offset of a content that slides in from a side.
    property real shift: 0
    property alias contentOpacity: column.opacity
    property int columnWidth: 520
    /// Whether the content is at the top of the page, also if it is short.
    property bool isTopAligned: false
    property alias spacing: column.spacing

    readonly property Item focusItem: Window.activeFocusItem

    /// Scrolls to the item that has the keyboard.
    function reveal(item) {
        var place = item.mapToItem(column, 0, 0).y + column.y;
        var air = Theme.inCard;
        if (place - air < contentY)
            contentY = Math.max(0, place - air);
        else if (place + item.height + air > contentY + height)
            contentY = Math.min(Math.max(0, contentHeight - height), Math.min(place - air, place + item.height + air - height));
    }
    function holds(item) {
        for (var each = item; each; each = each.parent) {
            if (each === column)
                return true;
        }
        return false;
    }

    onFocusItemChanged: {
        var control = focusItem as T.Control;
        if (control && control.visualFocus && holds(control))
            reveal(control);
    }
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
        y: page.isTopAligned ? Theme.pageEdge : Math.max(Theme.pageEdge, (page.height - Math.max(height, page.steadyHeight)) / 2)
        spacing: Theme.inCard
        transform: Translate {
            x: page.shift
        }
    }
}
