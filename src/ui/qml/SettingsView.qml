import QtQuick

FocusScope {
    id: root

    required property var model

    TabPage {
        anchors.fill: parent
        title: Texts.tabs.settings

        PlainButton {
            objectName: "changeHotkeys"
            text: Texts.changeHotkeys
            onClicked: hotkeySheet.open()
        }
    }

    HotkeySettingsSheet {
        id: hotkeySheet

        model: root.model.shortcuts
    }
}
