import QtQuick
import SonVale

/// A conversation with the support assistant.
FocusScope {
    id: help

    required property SupportChatModel model
    property bool isSignedIn: true

    signal signInWanted

    ChatPanel {
        anchors.fill: parent
        focus: true
        model: help.model
        isSignedIn: help.isSignedIn
        onSignInWanted: help.signInWanted()
    }
}
