import QtQuick

/// A conversation with the support assistant.
FocusScope {
    id: help

    required property var model

    ChatPanel {
        anchors.fill: parent
        focus: true
        model: help.model
    }
}
