import QtQuick
import SonVale

/// The tab with the support chat.
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
