import QtQuick
import QtQuick.Controls.Basic
import SonVale

/// A field of one line. A secure field hides its text until the user presses its eye.
FocusScope {
    id: field

    property alias text: input.text
    property string placeholder
    property bool isSecure: false
    property bool isDisabled: false
    property bool isRevealed: false
    readonly property bool isFocused: input.activeFocus

    signal accepted

    implicitHeight: 44
    implicitWidth: 320
    opacity: isDisabled ? 0.6 : 1

    TextField {
        id: input

        anchors.fill: parent
        focus: true
        enabled: !field.isDisabled
        placeholderText: field.placeholder
        placeholderTextColor: Theme.secondaryText
        color: Theme.text
        font: Theme.body
        selectByMouse: true
        selectionColor: Theme.accent
        selectedTextColor: Theme.textOnAccent
        leftPadding: 14
        rightPadding: field.isSecure ? 44 : 14
        maximumLength: 20000
        echoMode: field.isSecure && !field.isRevealed ? TextInput.Password : TextInput.Normal
        inputMethodHints: field.isSecure ? Qt.ImhHiddenText | Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase : Qt.ImhNoAutoUppercase | Qt.ImhEmailCharactersOnly
        Accessible.name: field.placeholder
        // Qt reports an empty name for a field with `passwordEdit`. The field still has the role of a
        // password by its echo mode.
        Accessible.passwordEdit: false
        Accessible.onPasswordEditChanged: if (Accessible.passwordEdit)
            Accessible.passwordEdit = false
        onAccepted: field.accepted()

        background: Rectangle {
            radius: Theme.controlRadius
            color: Theme.surface
            border.width: 1
            border.color: Theme.fieldLine

            FocusRing {
                control: input
            }
        }
    }

    SymbolButton {
        objectName: "reveal"
        anchors.right: parent.right
        anchors.rightMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        visible: field.isSecure
        enabled: !field.isDisabled
        symbol: field.isRevealed ? "eye" : "eye.slash"
        text: field.isRevealed ? Texts.hidePassword : Texts.showPassword
        onClicked: field.isRevealed = !field.isRevealed
    }
}
