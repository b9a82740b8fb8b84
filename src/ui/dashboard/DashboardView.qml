import QtQuick
import SonVale

/// The dashboard: the sidebar and, next to it, the selected tab.
FocusScope {
    id: dashboard

    required property DashboardModel model
    property DashboardTab selectedTab: home

    DashboardTab {
        id: home

        name: "home"
        icon: "house"
        label: Texts.home
        page: HomeView {
            objectName: "tab.home"
            model: dashboard.model.history
            onStyleWanted: dashboard.selectedTab = style
        }
    }
    DashboardTab {
        id: snippets

        name: "snippets"
        icon: "scissors"
        label: Texts.snippets
        page: SnippetsView {
            objectName: "tab.snippets"
            model: dashboard.model.snippets
        }
    }
    DashboardTab {
        id: style

        name: "style"
        icon: "textformat"
        label: Texts.style
        page: StyleView {
            objectName: "tab.style"
            model: dashboard.model.style
        }
    }
    DashboardTab {
        id: scratchpad

        name: "scratchpad"
        icon: "note.text"
        label: Texts.scratchpad
        page: ScratchpadView {
            objectName: "tab.scratchpad"
            model: dashboard.model.scratchpad
        }
    }
    DashboardTab {
        id: settings

        name: "settings"
        icon: "gear"
        label: Texts.settings
        page: SettingsView {
            objectName: "tab.settings"
            model: dashboard.model.settings
            shortcuts: dashboard.model.shortcuts
        }
    }
    DashboardTab {
        id: help

        name: "help"
        icon: "questionmark.circle"
        label: Texts.help
        page: HelpView {
            objectName: "tab.help"
            model: dashboard.model.support
            isSignedIn: dashboard.model.isSignedIn
            onSignInWanted: dashboard.model.askToSignIn()
        }
    }

    SidebarView {
        id: sidebar

        objectName: "sidebar"
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 208
        focus: true
        mainTabs: [home, snippets, style, scratchpad]
        footTabs: [settings, help]
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
        sourceComponent: dashboard.selectedTab.page
    }
}
