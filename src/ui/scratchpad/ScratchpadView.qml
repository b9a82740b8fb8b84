import QtQuick
import SonVale

/// The tab for free notes.
FocusScope {
    id: view

    required property ScratchpadModel model
    readonly property int columnWidth: Math.min(720, width - 2 * Theme.pageEdge)

    Component.onDestruction: model.save()

    Item {
        id: top

        y: Theme.pageEdge
        width: view.columnWidth
        height: 40
        anchors.horizontalCenter: parent.horizontalCenter

        SVText {
            objectName: "title"
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            text: Texts.scratchpad
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Row {
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.inControl

            SVText {
                objectName: "words"
                height: 40
                verticalAlignment: Text.AlignVCenter
                rightPadding: Theme.inControl
                text: Texts.scratchpadWords.arg(view.model.words)
                Accessible.role: Accessible.StaticText
                Accessible.name: text
                font: Theme.caption
                color: Theme.secondaryText
            }
            SymbolButton {
                objectName: "copyText"
                anchors.verticalCenter: parent.verticalCenter
                symbol: "doc.on.doc"
                text: Texts.copy
                hint: Texts.copy
                onClicked: view.model.copy()
            }
            PlainButton {
                objectName: "clear"
                symbol: "trash"
                text: Texts.clear
                onClicked: editor.clear()
            }
        }
    }
    SVTextArea {
        id: editor

        editorName: "scratchpad"
        width: view.columnWidth
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: top.bottom
        anchors.topMargin: Theme.inCard
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.pageEdge
        label: Texts.scratchpad
        value: view.model.text
        onEdited: view.model.text = text
    }
}
