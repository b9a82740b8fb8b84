import QtQuick
import SonVale

/// What a signed-out user sees: signing in, or creating an account.
FocusScope {
    id: login

    required property LoginModel model
    /// Without an account the program can still dictate, so the user may go on to the tabs.
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
            text: login.model.isSignUp ? Texts.createAccount : Texts.signIn
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        SVText {
            objectName: "subtitle"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: login.model.isSignUp ? Texts.createAccountSubtitle : Texts.signInSubtitle
            color: Theme.secondaryText
            bottomPadding: Theme.betweenRows
        }

        SVAuthField {
            objectName: "email"
            width: parent.width
            focus: true
            placeholder: Texts.emailAddress
            text: login.model.email
            isDisabled: login.model.isLoading
            onTextChanged: login.model.email = text
            onAccepted: login.model.submit()
        }
        SVAuthField {
            objectName: "password"
            width: parent.width
            placeholder: Texts.password
            isSecure: true
            text: login.model.password
            isDisabled: login.model.isLoading
            onTextChanged: login.model.password = text
            onAccepted: login.model.submit()
        }
        SVAuthField {
            objectName: "confirmPassword"
            width: parent.width
            visible: login.model.isSignUp
            placeholder: Texts.confirmPassword
            isSecure: true
            text: login.model.confirmPassword
            isDisabled: login.model.isLoading
            onTextChanged: login.model.confirmPassword = text
            onAccepted: login.model.submit()
        }

        SVText {
            objectName: "localError"
            width: parent.width
            visible: text !== ""
            isParagraph: true
            text: login.model.localError
            color: Theme.danger
            maximumLineCount: 4
            elide: Text.ElideRight
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }

        SVPrimaryButtonStyle {
            objectName: "submit"
            width: parent.width
            text: login.model.isSignUp ? Texts.createAccount : Texts.signIn
            enabled: !login.model.isLoading
            onClicked: login.model.submit()

            BusyDots {
                objectName: "busy"
                anchors.right: parent.right
                anchors.rightMargin: Theme.inCard
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.textOnAccent
                visible: login.model.isLoading
            }
        }
        LinkButton {
            objectName: "switchMode"
            anchors.horizontalCenter: parent.horizontalCenter
            enabled: !login.model.isLoading
            text: login.model.isSignUp ? Texts.haveAccount : Texts.noAccount
            onClicked: login.model.toggleMode()
        }
        LinkButton {
            objectName: "withoutAccount"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !login.isAccountNeeded
            enabled: !login.model.isLoading
            text: Texts.withoutAccount
            onClicked: login.continuedWithoutAccount()
        }
    }
}
