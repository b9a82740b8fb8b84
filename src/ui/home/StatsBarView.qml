import QtQuick
import SonVale

/// The three counters over the history.
Row {
    id: bar

    required property HistoryModel model

    spacing: Theme.betweenRows

    Repeater {
        model: [{
                "name": "days",
                "icon": "bolt.fill",
                "color": Theme.yellow,
                "label": Texts.days
            }, {
                "name": "words",
                "icon": "checkmark",
                "color": Theme.good,
                "label": Texts.words
            }, {
                "name": "wordsPerMinute",
                "icon": "speedometer",
                "color": Theme.accent,
                "label": Texts.wordsPerMinute
            }]

        Rectangle {
            id: pill

            required property var modelData
            readonly property string value: bar.model[modelData.name]

            objectName: "stats." + modelData.name
            width: line.width + 2 * 14
            height: 36
            radius: height / 2
            color: Theme.surface
            border.width: 1
            border.color: Theme.hairline
            Accessible.role: Accessible.StaticText
            Accessible.name: value + " " + modelData.label

            Row {
                id: line

                anchors.centerIn: parent
                spacing: 6

                Symbol {
                    anchors.verticalCenter: parent.verticalCenter
                    name: pill.modelData.icon
                    size: 16
                    color: pill.modelData.color
                }
                SVText {
                    objectName: "stats." + pill.modelData.name + ".value"
                    anchors.verticalCenter: parent.verticalCenter
                    text: pill.value
                    font: Theme.rowTitle
                }
                SVText {
                    anchors.verticalCenter: parent.verticalCenter
                    text: pill.modelData.label
                    color: Theme.secondaryText
                }
            }
        }
    }
}
