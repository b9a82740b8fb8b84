import QtQuick

/// Where the dashboard begins.
FocusScope {
    id: home

    required property var model

    Column {
        anchors.centerIn: parent
        width: Math.min(520, parent.width - 2 * Theme.pageEdge)
        spacing: Theme.inCard

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 88
            height: 88
            radius: 44
            color: Theme.tint(Theme.accent, 0.12)

            Symbol {
                anchors.centerIn: parent
                name: "waveform"
                size: 40
                color: Theme.accent
            }
        }
        SVText {
            objectName: "lastTranscription"
            isParagraph: true
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: home.model.lastTranscription === "" ? Texts.startHint : home.model.lastTranscription.substring(0, 2000)
            maximumLineCount: 12
            elide: Text.ElideRight
        }
    }
}
