import QtQuick
import SonVale

/// The content of the dashboard's window: the onboarding, the sign-in or the dashboard.
Rectangle {
    id: root

    required property DashboardModel model

    color: Theme.window
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    Loader {
        id: content

        anchors.fill: parent
        focus: true
        sourceComponent: root.model.content === DashboardModel.Onboarding ? onboarding : root.model.content === DashboardModel.SignIn ? signIn : home
        onLoaded: (item as Item).forceActiveFocus()
    }

    Component {
        id: onboarding

        OnboardingView {
            objectName: "onboarding"
            model: root.model.onboarding
        }
    }
    Component {
        id: signIn

        LoginView {
            objectName: "login"
            model: root.model.loginModel
            isAccountNeeded: root.model.isAccountNeeded
            onContinuedWithoutAccount: root.model.continueWithoutAccount()
        }
    }
    Component {
        id: home

        DashboardView {
            objectName: "home"
            model: root.model
        }
    }
}
