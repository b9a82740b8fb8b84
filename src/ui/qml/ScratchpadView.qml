import QtQuick

FocusScope {
    required property var model

    TabPage {
        anchors.fill: parent
        title: Texts.tabs.scratchpad
    }
}
