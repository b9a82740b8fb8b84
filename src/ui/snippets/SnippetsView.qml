import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The spoken triggers and their texts.
FocusScope {
    id: view

    required property SnippetsModel model
    readonly property int columnWidth: Math.min(720, width - 2 * Theme.pageEdge)

    // The search belongs to the view and ends with it.
    Component.onCompleted: model.searchText = ""

    Column {
        id: top

        y: Theme.pageEdge
        width: view.columnWidth
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.inCard

        Item {
            width: parent.width
            height: Math.max(words.height, adding.height)

            Column {
                id: words

                anchors.left: parent.left
                anchors.right: adding.left
                anchors.rightMargin: Theme.inCard
                spacing: 4

                SVText {
                    objectName: "title"
                    width: parent.width
                    text: Texts.snippets
                    font: Theme.pageTitle
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                SVText {
                    isParagraph: true
                    width: parent.width
                    text: Texts.snippetsLine
                    color: Theme.secondaryText
                }
            }
            SVPrimaryButtonStyle {
                id: adding

                objectName: "addNew"
                anchors.right: parent.right
                anchors.top: parent.top
                symbol: "plus"
                text: Texts.addNew
                onClicked: addSheet.open()
            }
        }
        SVTextField {
            objectName: "search"
            width: parent.width
            placeholderText: Texts.searchSnippets
            symbol: "magnifyingglass"
            text: view.model.searchText
            onTextChanged: view.model.searchText = text
        }
    }

    Column {
        objectName: "noSnippets"
        anchors.top: top.bottom
        anchors.topMargin: 48
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(400, view.columnWidth)
        visible: view.model.isEmpty
        spacing: Theme.inControl

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "text.quote"
            size: 40
            color: Theme.secondaryText
        }
        SVText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: Texts.noSnippets
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            font: Theme.section
        }
        SVText {
            isParagraph: true
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: Texts.noSnippetsBody
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            color: Theme.secondaryText
            bottomPadding: Theme.inControl
        }
        PlainButton {
            objectName: "createFirst"
            anchors.horizontalCenter: parent.horizontalCenter
            text: Texts.createFirstSnippet
            onClicked: addSheet.open()
        }
    }

    ListView {
        id: list

        objectName: "snippets"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: top.bottom
        anchors.topMargin: Theme.inCard
        anchors.bottom: parent.bottom
        visible: !view.model.isEmpty
        clip: true
        spacing: Theme.betweenRows
        topMargin: 4
        bottomMargin: Theme.pageEdge
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: true
        highlightMoveDuration: 0
        model: view.model
        Accessible.role: Accessible.List
        Accessible.name: Texts.snippets
        ScrollBar.vertical: ScrollBar {
        }

        delegate: SnippetRow {
            width: view.columnWidth
            anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
            onEditWanted: {
                view.model.edit(index);
                editSheet.open();
            }
            onDeleteWanted: view.model.remove(index)
        }
    }

    AddSnippetSheet {
        id: addSheet

        onSaved: (trigger, content, category) => view.model.add(trigger, content, category)
    }
    EditSnippetSheet {
        id: editSheet

        model: view.model.editor
    }
}
