import QtQuick
import SonVale

/// A snippet with its two buttons.
SVCard {
    id: row

    required property int index
    required property string trigger
    required property string expansion
    required property string category
    required property real usageCount

    signal editWanted
    signal deleteWanted

    objectName: "snippet." + index
    implicitHeight: body.height + 2 * padding
    Accessible.role: Accessible.ListItem
    Accessible.name: trigger

    Item {
        id: body

        width: parent.width
        height: Math.max(words.height, buttons.height)

        Symbol {
            id: sign

            anchors.left: parent.left
            anchors.top: parent.top
            name: "mic.fill"
            color: Theme.accent
        }
        Column {
            id: words

            anchors.left: sign.right
            anchors.leftMargin: Theme.betweenRows
            anchors.right: buttons.left
            anchors.rightMargin: Theme.betweenRows
            spacing: 4

            SVText {
                objectName: "snippet." + row.index + ".trigger"
                width: parent.width
                height: 20
                verticalAlignment: Text.AlignVCenter
                text: row.trigger
                font: Theme.rowTitle
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
            }
            SVText {
                objectName: "snippet." + row.index + ".content"
                isParagraph: true
                width: parent.width
                text: row.expansion
                color: Theme.secondaryText
                maximumLineCount: 3
                elide: Text.ElideRight
            }
            Row {
                spacing: Theme.inControl

                Rectangle {
                    objectName: "snippet." + row.index + ".category"
                    visible: row.category !== ""
                    width: Math.min(label.implicitWidth, words.width / 2) + 2 * Theme.inControl
                    height: 20
                    radius: height / 2
                    color: Theme.raised

                    SVText {
                        id: label

                        anchors.centerIn: parent
                        width: parent.width - 2 * Theme.inControl
                        text: row.category
                        font: Theme.caption
                        color: Theme.secondaryText
                        elide: Text.ElideRight
                        wrapMode: Text.NoWrap
                    }
                }
                SVText {
                    objectName: "snippet." + row.index + ".usage"
                    height: 20
                    verticalAlignment: Text.AlignVCenter
                    text: row.usageCount === 0 ? Texts.notUsedYet : row.usageCount === 1 ? Texts.usedOnce : Texts.usedTimes.arg(row.usageCount)
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                    font: Theme.caption
                    color: Theme.secondaryText
                }
            }
        }
        Row {
            id: buttons

            anchors.right: parent.right
            anchors.rightMargin: -Theme.inControl
            anchors.top: parent.top
            anchors.topMargin: (20 - Theme.hitHeight) / 2 // aligned with the trigger
            spacing: Theme.betweenRows

            LinkButton {
                objectName: "snippet." + row.index + ".edit"
                text: Texts.edit
                Accessible.description: row.trigger
                onClicked: row.editWanted()
            }
            LinkButton {
                objectName: "snippet." + row.index + ".remove"
                text: Texts.remove
                litColor: Theme.danger
                Accessible.description: row.trigger
                onClicked: row.deleteWanted()
            }
        }
    }
}
