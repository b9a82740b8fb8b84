import QtQuick
import SonVale

/// The screen of a signed-out user: sign-in, or a new account.
FocusScope {
    id: view

    required property LoginModel model
    /// Whether dictation needs an account. If not, the user may continue to the tabs.
    property bool isAccountNeeded: true

    signal continuedWithoutAccount

    focus: true

    ScrollPage {
        anchors.fill: parent
        columnWidth: 360
        spacing: Theme.betweenRows

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "Logo"
            size: 56
            color: Theme.accent
        }
        SVText {
            objectName: "title"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            topPadding: Theme.inControl
            text: view.model.isSignUp ? Texts.createAccount : Texts.signIn
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        SVText {
            objectName: "subtitle"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: view.model.isSignUp ? Texts.createAccountSubtitle : Texts.signInSubtitle
            color: Theme.secondaryText
            bottomPadding: Theme.betweenRows
        }

        SVAuthField {
            objectName: "email"
            width: parent.width
            focus: true
            placeholder: Texts.emailAddress
            text: view.model.email
            isDisabled: view.model.isLoading
            onTextChanged: view.model.email = text
            onAccepted: view.model.submit()
        }
        SVAuthField {
            objectName: "password"
            width: parent.width
            placeholder: Texts.password
            isSecure: true
            text: view.model.password
            isDisabled: view.model.isLoading
            onTextChanged: view.model.password = text
            onAccepted: view.model.submit()
        }
        SVAuthField {
            objectName: "confirmPassword"
            width: parent.width
            visible: view.model.isSignUp
            placeholder: Texts.confirmPassword
            isSecure: true
            text: view.model.confirmPassword
            isDisabled: view.model.isLoading
            onTextChanged: view.model.confirmPassword = text
            onAccepted: view.model.submit()
        }

        SVText {
            objectName: "localError"
            width: parent.width
            visible: text !== ""
            isParagraph: true
            text: view.model.localError
            color: Theme.danger
            maximumLineCount: 4
            elide: Text.ElideRight
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }

        SVPrimaryButtonStyle {
            objectName: "submit"
            width: parent.width
            text: view.model.isSignUp ? Texts.createAccount : Texts.signIn
            enabled: !view.model.isLoading
            onClicked: view.model.submit()

            BusyDots {
                objectName: "busy"
                anchors.right: parent.right
                anchors.rightMargin: Theme.inCard
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.textOnAccent
                visible: view.model.isLoading
            }
        }
        LinkButton {
            objectName: "switchMode"
            anchors.horizontalCenter: parent.horizontalCenter
            enabled: !view.model.isLoading
            text: view.model.isSignUp ? Texts.haveAccount : Texts.noAccount
            onClicked: view.model.toggleMode()
        }
        LinkButton {
            objectName: "withoutAccount"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !view.isAccountNeeded
            enabled: !view.model.isLoading
            text: Texts.withoutAccount
            onClicked: view.continuedWithoutAccount()
        }
    }
}
