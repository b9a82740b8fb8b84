import QtQuick
import SonVale

/// The tabs of the dashboard: the main tabs at the top, the others at the bottom.
FocusScope {
    id: sidebar

    required property list<DashboardTab> mainTabs
    required property list<DashboardTab> footTabs
    required property DashboardTab selectedTab

    property bool isSignedIn: false
    property string userEmail

    signal selected(DashboardTab tab)
    signal signOutWanted
    signal signInWanted

    Accessible.role: Accessible.PageTabList
    Accessible.name: Texts.applicationName

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }

    Row {
        id: product

        anchors.left: parent.left
        anchors.top: parent.top
        anchors.margins: Theme.inCard
        anchors.topMargin: Theme.betweenCards
        anchors.leftMargin: Theme.inCard + Theme.inControl
        spacing: Theme.inControl + 2

        Symbol {
            name: "Logo"
            size: 28
            color: Theme.accent
        }
        SVText {
            height: 28
            verticalAlignment: Text.AlignVCenter
            text: Texts.applicationName
            font: Theme.section
        }
    }

    Column {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: product.bottom
        anchors.margins: Theme.inCard
        anchors.topMargin: Theme.betweenCards
        spacing: 4

        Repeater {
            model: sidebar.mainTabs

            SidebarButton {
                required property DashboardTab modelData

                width: parent.width
                tab: modelData
                isSelected: sidebar.selectedTab === modelData
                focus: isSelected
                onClicked: sidebar.selected(tab)
            }
        }
    }
    Column {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.inCard
        spacing: 4

        Repeater {
            model: sidebar.footTabs

            SidebarButton {
                required property DashboardTab modelData

                width: parent.width
                tab: modelData
                isSelected: sidebar.selectedTab === modelData
                onClicked: sidebar.selected(tab)
            }
        }

        SVSeparator {
            width: parent.width
        }
        SVText {
            objectName: "userEmail"
            width: parent.width
            visible: sidebar.isSignedIn && text !== ""
            topPadding: Theme.inControl
            leftPadding: Theme.inControl
            rightPadding: Theme.inControl
            text: sidebar.userEmail
            font: Theme.caption
            color: Theme.secondaryText
            elide: Text.ElideMiddle
            wrapMode: Text.NoWrap
        }
        LinkButton {
            objectName: "signOut"
            visible: sidebar.isSignedIn
            text: Texts.signOut
            onClicked: sidebar.signOutWanted()
        }
        LinkButton {
            objectName: "signIn"
            visible: !sidebar.isSignedIn
            text: Texts.signIn
            onClicked: sidebar.signInWanted()
        }
    }
}
