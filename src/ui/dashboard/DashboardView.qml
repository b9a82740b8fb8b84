import QtQuick
import SonVale

/// The dashboard itself: the sidebar and, beside it, the selected tab.
FocusScope {
    id: dashboard

    required property DashboardModel model
    property string selectedTab: "home"

    SidebarView {
        id: sidebar

        objectName: "sidebar"
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 208
        focus: true
        selectedTab: dashboard.selectedTab
        isSignedIn: dashboard.model.isSignedIn
        userEmail: dashboard.model.userEmail
        onSelected: tab => dashboard.selectedTab = tab
        onSignOutWanted: dashboard.model.signOut()
        onSignInWanted: dashboard.model.askToSignIn()
    }
    Rectangle {
        anchors.left: sidebar.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 1
        color: Theme.hairline
    }
    Loader {
        objectName: "tab"
        anchors.left: sidebar.right
        anchors.leftMargin: 1
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        sourceComponent: ({
                "home": home,
                "snippets": snippets,
                "style": style,
                "scratchpad": scratchpad,
                "settings": settings,
                "help": help
            })[dashboard.selectedTab]
    }

    Component {
        id: home

        HomeView {
            objectName: "tab.home"
            model: dashboard.model.history
            onStyleWanted: dashboard.selectedTab = "style"
        }
    }
    Component {
        id: snippets

        SnippetsView {
            objectName: "tab.snippets"
            model: dashboard.model.snippets
        }
    }
    Component {
        id: style

        StyleView {
            objectName: "tab.style"
            model: dashboard.model.style
        }
    }
    Component {
        id: scratchpad

        ScratchpadView {
            objectName: "tab.scratchpad"
            model: dashboard.model.scratchpad
        }
    }
    Component {
        id: settings

        SettingsView {
            objectName: "tab.settings"
            model: dashboard.model.settings
            shortcuts: dashboard.model.shortcuts
        }
    }
    Component {
        id: help

        HelpView {
            objectName: "tab.help"
            model: dashboard.model.support
            isSignedIn: dashboard.model.isSignedIn
            onSignInWanted: dashboard.model.askToSignIn()
        }
    }
}
