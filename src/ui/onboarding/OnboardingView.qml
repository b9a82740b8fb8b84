import QtQuick
import SonVale

/// Leads a new user through the permissions and the tour, one step at a time.
FocusScope {
    id: onboarding

    required property OnboardingModel model
    readonly property OnboardingPage page_: pages.all[model.step]
    readonly property bool isGranted: model.isGranted
    readonly property bool isMissing: model.isPermissionStep && !isGranted
    readonly property bool hasVisualFocus: forward.visualFocus || back.visualFocus || skip.visualFocus || skipForNow.visualFocus
    property bool hasAsked: false
    property int shownStep: 0

    focus: true
    // A single button has the keyboard already, but is not marked.
    Keys.onTabPressed: forward.focusReason = Qt.TabFocusReason
    Component.onCompleted: shownStep = model.step

    /// Gives the keyboard to the next button, with the mark if the user came here by the keyboard.
    function focusForward(isByKeyboard) {
        forward.forceActiveFocus(isByKeyboard ? Qt.TabFocusReason : Qt.OtherFocusReason);
    }

    // A new step takes the keyboard.
    onIsGrantedChanged: {
        if (isGranted && shownStep === model.step)
            focusForward(ask.visualFocus || checkAgain.visualFocus);
    }

    OnboardingPages {
        id: pages
    }

    Connections {
        target: onboarding.model
        function onStepChanged() {
            const isByKeyboard = onboarding.hasVisualFocus;
            onboarding.hasAsked = false;
            turn.from = onboarding.model.step > onboarding.shownStep ? 24 : -24;
            onboarding.shownStep = onboarding.model.step;
            onboarding.focusForward(isByKeyboard);
            turn.restart();
        }
    }

    ParallelAnimation {
        id: turn

        property real from: 0

        NumberAnimation {
            target: page
            property: "contentOpacity"
            from: 0
            to: 1
            duration: Theme.motion
            easing.type: Easing.OutCubic
        }
        NumberAnimation {
            target: page
            property: "shift"
            from: turn.from
            to: 0
            duration: Theme.motion
            easing.type: Easing.OutCubic
        }
    }

    ScrollPage {
        id: page

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: bar.top
        steadyHeight: 444
        OnboardingPicture {
            width: parent.width
            page: onboarding.page_
        }

        SVText {
            objectName: "title"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: onboarding.page_.title
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        SVText {
            objectName: "body"
            isParagraph: true
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: onboarding.model.step === OnboardingStep.Ready ? onboarding.page_.body.arg(onboarding.model.shortcutLabel) : onboarding.page_.body
            color: Theme.secondaryText
        }

        Row {
            objectName: "granted"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: onboarding.model.isPermissionStep && onboarding.isGranted
            topPadding: Theme.betweenRows
            spacing: Theme.inControl

            Symbol {
                id: check

                name: "checkmark.circle.fill"
                color: Theme.good
            }
            SVText {
                height: check.height
                verticalAlignment: Text.AlignVCenter
                text: Texts.granted
                font: Theme.rowTitle
                color: Theme.good
            }
        }

        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: onboarding.isMissing
            topPadding: Theme.betweenRows
            spacing: Theme.betweenRows

            SVPrimaryButtonStyle {
                id: ask

                objectName: "ask"
                anchors.horizontalCenter: parent.horizontalCenter
                text: onboarding.page_.ask
                onClicked: {
                    onboarding.hasAsked = true;
                    onboarding.model.ask();
                }
            }
            PlainButton {
                id: checkAgain

                objectName: "checkAgain"
                anchors.horizontalCenter: parent.horizontalCenter
                text: Texts.checkAgain
                visible: onboarding.hasAsked
                onClicked: onboarding.model.check()
            }
            LinkButton {
                id: skipForNow

                objectName: "skipForNow"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: onboarding.model.step === OnboardingStep.SpeechRecognition
                text: Texts.skipForNow
                onClicked: onboarding.model.goOn()
            }
        }

        SVText {
            objectName: "inputMonitoringHint"
            isParagraph: true
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(parent.width, 400)
            horizontalAlignment: Text.AlignHCenter
            visible: onboarding.model.step === OnboardingStep.InputMonitoring && !onboarding.isGranted
            text: Texts.inputMonitoringHint
            font: Theme.caption
            color: Theme.secondaryText
        }

        SVCard {
            objectName: "privacyLine"
            visible: onboarding.model.step === OnboardingStep.PrivacyTip
            anchors.horizontalCenter: parent.horizontalCenter
            width: privacy.implicitWidth + 2 * padding
            height: privacy.implicitHeight + 2 * padding

            Row {
                id: privacy

                spacing: Theme.inControl

                Symbol {
                    name: "gear"
                    color: Theme.secondaryText
                }
                SVText {
                    text: Texts.privacyLine
                    wrapMode: Text.NoWrap
                }
            }
        }

        SVCard {
            objectName: "permissions"
            visible: onboarding.model.step === OnboardingStep.Ready
            width: 300
            height: list.implicitHeight + 2 * padding
            anchors.horizontalCenter: parent.horizontalCenter

            Column {
                id: list

                width: parent.width
                spacing: Theme.betweenRows

                Repeater {
                    model: onboarding.model.permissions

                    Row {
                        id: permissionRow

                        required property string label
                        required property bool isGranted

                        spacing: Theme.inControl
                        Accessible.role: Accessible.ListItem
                        Accessible.name: label
                        Accessible.description: isGranted ? Texts.granted : Texts.notGranted

                        Symbol {
                            objectName: "permission." + permissionRow.label
                            name: permissionRow.isGranted ? "checkmark.circle.fill" : "xmark.circle.fill"
                            color: permissionRow.isGranted ? Theme.good : Theme.danger
                        }
                        SVText {
                            height: 20
                            verticalAlignment: Text.AlignVCenter
                            text: permissionRow.label
                        }
                    }
                }
            }
        }
    }

    Item {
        id: bar

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 40 + 2 * Theme.betweenCards

        PlainButton {
            id: back

            objectName: "back"
            anchors.left: parent.left
            anchors.leftMargin: Theme.pageEdge
            anchors.verticalCenter: parent.verticalCenter
            visible: onboarding.model.canGoBack
            text: Texts.back
            onClicked: onboarding.model.goBack()
        }
        Row {
            anchors.centerIn: parent
            spacing: 6

            Repeater {
                model: pages.all.length

                Rectangle {
                    required property int index

                    readonly property bool isHere: index === onboarding.model.step

                    width: isHere ? 20 : 6
                    height: 6
                    radius: 3
                    color: isHere ? Theme.accent : index < onboarding.model.step ? Theme.fieldLine : Theme.hairline

                    Behavior on width  {
                        NumberAnimation {
                            duration: Theme.motion
                            easing.type: Easing.OutCubic
                        }
                    }
                }
            }
        }
        Row {
            anchors.right: parent.right
            anchors.rightMargin: Theme.pageEdge
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.betweenRows

            PlainButton {
                id: skip

                objectName: "skip"
                visible: onboarding.model.canSkip
                text: Texts.skip
                onClicked: onboarding.model.skip()
            }
            SVPrimaryButtonStyle {
                id: forward

                objectName: onboarding.model.isLast ? "getStarted" : "continue"
                focus: true
                isQuiet: onboarding.isMissing
                text: onboarding.model.isLast ? Texts.getStarted : Texts.continueOn
                onClicked: onboarding.model.goOn()
            }
        }
    }
}
