import QtQuick
import QtQuick.Window
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import SonVale

/// A modal sheet over the window. The keyboard stays inside the sheet and returns to its previous item when
/// the sheet closes. Escape closes the sheet, unless an item inside uses the key.
Popup {
    id: sheet

    default property alias content: column.data
    property string title
    property string subtitle
    property alias rowSpacing: column.spacing
    /// The row below the scrolling content, which stays visible.
    property alias footer: foot.data
    readonly property int footHeight: foot.children.length > 0 ? foot.height + Theme.inCard : 0

    /// The item that had the keyboard before, and whether it was marked.
    property Item opener: null
    property bool isOpenerMarked: false

    onAboutToShow: {
        opener = parent.Window.activeFocusItem;
        var control = opener as T.Control;
        isOpenerMarked = control !== null && control.visualFocus;
    }
    onClosed: {
        if (opener)
            opener.forceActiveFocus(isOpenerMarked ? Qt.TabFocusReason : Qt.PopupFocusReason);
        opener = null;
    }
    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(480, parent ? parent.width - 2 * Theme.pageEdge : 480)
    height: Math.min(implicitHeight, parent ? parent.height - 2 * Theme.pageEdge : implicitHeight)
    padding: Theme.betweenCards
    modal: true
    focus: true
    dim: true
    closePolicy: Popup.CloseOnEscape

    T.Overlay.modal: Rectangle {
        color: Theme.veil
    }

    background: Rectangle {
        radius: Theme.cardRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.hairline
    }

    contentItem: FocusScope {
        objectName: "sheet"
        focus: true
        implicitHeight: heading.height + Theme.inCard + column.implicitHeight + sheet.footHeight
        LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
        LayoutMirroring.childrenInherit: true
        Accessible.role: Accessible.Dialog
        Accessible.name: sheet.title

        Column {
            id: heading

            anchors.left: parent.left
            anchors.right: closing.left
            anchors.rightMargin: Theme.inControl
            spacing: 4

            SVText {
                objectName: "sheetTitle"
                width: parent.width
                text: sheet.title
                font: Theme.section
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            SVText {
                objectName: "sheetSubtitle"
                width: parent.width
                visible: text !== ""
                text: sheet.subtitle
                color: Theme.secondaryText
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        SymbolButton {
            id: closing

            objectName: "closeSheet"
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: -6
            symbol: "xmark.circle.fill"
            text: Texts.close
            onClicked: sheet.close()
        }
        Flickable {
            id: room

            readonly property Item focusItem: Window.activeFocusItem

            /// Scrolls to the item that has the keyboard.
            function reveal(item) {
                var place = item.mapToItem(column, 0, 0).y + column.y;
                if (place - 6 < contentY)
                    contentY = Math.max(0, place - 6);
                else if (place + item.height + 6 > contentY + height)
                    contentY = Math.min(contentHeight - height, place + item.height + 6 - height);
            }
            function holds(item) {
                for (var each = item; each; each = each.parent) {
                    if (each === column)
                        return true;
                }
                return false;
            }

            onFocusItemChanged: if (focusItem && holds(focusItem))
                reveal(focusItem)
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: heading.bottom
            anchors.bottom: parent.bottom
            // The outline around the item with the keyboard is a little outside of the item.
            anchors.margins: -6
            anchors.topMargin: Theme.inCard - 6
            anchors.bottomMargin: sheet.footHeight - 6
            contentWidth: width
            contentHeight: column.implicitHeight + 12
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            ScrollBar.vertical: ScrollBar {
                visible: room.contentHeight > room.height + 1
            }

            Column {
                id: column

                x: 6
                y: 6
                width: room.width - 12
                spacing: Theme.inCard
            }
        }
        Item {
            id: foot

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            height: childrenRect.height
        }
    }
}
