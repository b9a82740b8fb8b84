import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// The first tab of the dashboard: counters, and the history by day.
FocusScope {
    id: home

    required property HistoryModel model
    readonly property int columnWidth: Math.min(720, width - 2 * Theme.pageEdge)

    signal styleWanted

    ListView {
        id: list

        /// The identifiers of the expanded rows.
        property var expanded: ({})
        /// A new row above does not push the beginning out of sight.
        property bool isAtTop: true

        objectName: "history"
        anchors.fill: parent
        focus: true
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: true
        highlightMoveDuration: 0
        // Rows differ in height. Rows just outside of the view are created early, so that scrolling is
        // smooth.
        cacheBuffer: 600
        model: home.model
        onContentYChanged: isAtTop = contentY <= originY + 1
        onOriginYChanged: if (isAtTop)
            contentY = originY
        Accessible.role: Accessible.List
        Accessible.name: Texts.history
        ScrollBar.vertical: ScrollBar {
        }

        header: Item {
            width: list.width
            height: top.height + Theme.pageEdge + Theme.inCard

            Column {
                id: top

                y: Theme.pageEdge
                width: home.columnWidth
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: Theme.betweenCards

                SVText {
                    objectName: "greeting"
                    width: parent.width
                    text: Texts.welcomeBack.arg(home.model.firstName === "" ? Texts.unnamedUser : home.model.firstName)
                    font: Theme.pageTitle
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                StatsBarView {
                    model: home.model
                }
                PromotionCard {
                    width: parent.width
                    onAccepted: home.styleWanted()
                }
                Column {
                    objectName: "noTranscriptions"
                    width: parent.width
                    visible: home.model.count === 0
                    topPadding: Theme.pageEdge
                    spacing: Theme.inControl

                    Symbol {
                        anchors.horizontalCenter: parent.horizontalCenter
                        name: "waveform"
                        size: 40
                        color: Theme.secondaryText
                    }
                    SVText {
                        width: parent.width
                        horizontalAlignment: Text.AlignHCenter
                        text: Texts.noTranscriptions
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                        font: Theme.section
                    }
                    SVText {
                        width: parent.width
                        horizontalAlignment: Text.AlignHCenter
                        text: Texts.pressToStart
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                        color: Theme.secondaryText
                    }
                }
            }
        }
        footer: Item {
            width: list.width
            height: Theme.pageEdge
        }

        section.property: "section"
        section.delegate: Item {
            required property string section

            width: list.width
            height: 44

            SVText {
                objectName: "section." + parent.section
                width: home.columnWidth
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                anchors.bottomMargin: Theme.inControl
                leftPadding: Theme.betweenRows
                text: parent.section
                font: Theme.rowTitle
                color: Theme.secondaryText
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }
        delegate: TranscriptionRowView {
            width: home.columnWidth
            anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
            activeFocusOnTab: ListView.isCurrentItem || activeFocus
            copied: home.model.copiedRow === identifier
            isExpanded: list.expanded[identifier] === true
            onCopyWanted: home.model.copy(index)
            onExpansionWanted: isWanted => {
                list.expanded[identifier] = isWanted;
                list.expandedChanged();
            }
        }
    }
}
