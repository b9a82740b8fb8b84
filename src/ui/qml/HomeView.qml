import QtQuick

FocusScope {
    required property var model

    signal styleWanted

    TabPage {
        anchors.fill: parent
        title: Texts.tabs.home
    }
}
