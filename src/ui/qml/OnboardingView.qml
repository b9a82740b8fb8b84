import QtQuick
import QtQuick.Controls.Basic
import SonVale.App

/// Leads a new user through the grants and the tour, one step at a time.
FocusScope {
    id: onboarding

    required property var model
    readonly property var texts: Texts.steps[model.stepName]
    readonly property bool isGrant: texts.ask !== undefined
    readonly property bool isGranted: model.stepName === "microphone" ? model.microphoneGranted : model.stepName === "speechRecognition" ? model.speechRecognitionGranted : model.stepName === "accessibility" ? model.accessibilityGranted : model.stepName === "inputMonitoring" ? model.inputMonitoringGranted : false
    readonly property var symbols: ({
            "welcome": "Logo",
            "microphone": "mic",
            "speechRecognition": "waveform",
            "accessibility": "accessibility",
            "inputMonitoring": "keyboard",
            "ready": "checkmark.circle.fill",
            "howToUse": "questionmark.circle",
            "pushToTalk": "hand.tap",
            "handsFree": "waveform",
            "privacyTip": "lock",
            "accessingApp": "macwindow"
        })
    readonly property bool isTour: model.stepName === "pushToTalk" || model.stepName === "handsFree"
    property bool hasAsked: false

    focus: true

    Connections {
        target: onboarding.model
        function onStepChanged() {
            onboarding.hasAsked = false;
            forward.forceActiveFocus();
        }
    }

    ScrollPage {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: bar.top

        Item {
            width: parent.width
            height: 96
            visible: onboarding.model.stepName !== "processingExplainer"

            Rectangle {
                anchors.centerIn: parent
                width: 80
                height: 80
                radius: 40
                color: Theme.tint(Theme.accent, 0.12)
                scale: onboarding.isTour ? pulse.value : 1

                Symbol {
                    anchors.centerIn: parent
                    name: onboarding.symbols[onboarding.model.stepName] || ""
                    size: 40
                    color: Theme.accent
                }
            }

            QtObject {
                id: pulse

                property real value: 1

                readonly property SequentialAnimation beat: SequentialAnimation {
                    running: onboarding.isTour && onboarding.visible && Theme.motion > 0
                    loops: 3

                    NumberAnimation {
                        target: pulse
                        property: "value"
                        to: 1.12
                        duration: 900
                        easing.type: Easing.InOutSine
                    }
                    NumberAnimation {
                        target: pulse
                        property: "value"
                        to: 1
                        duration: 900
                        easing.type: Easing.InOutSine
                    }
                }
            }
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: onboarding.model.stepName === "processingExplainer"
            spacing: 48

            Repeater {
                model: [{
                        "working": false,
                        "text": Texts.listening
                    }, {
                        "working": true,
                        "text": Texts.polishing
                    }]

                Column {
                    id: sample

                    required property var modelData

                    spacing: Theme.betweenRows

                    Rectangle {
                        anchors.horizontalCenter: parent.horizontalCenter
                        width: 112
                        height: 112
                        radius: 56
                        color: Theme.ringGround

                        Ring {
                            objectName: sample.modelData.working ? "workingRing" : "listeningRing"
                            anchors.centerIn: parent
                            width: 96
                            height: 96
                            isWorking: sample.modelData.working
                            isStill: Theme.motion === 0
                            Accessible.role: Accessible.Graphic
                            Accessible.name: sample.modelData.text
                        }
                    }
                    SVText {
                        anchors.horizontalCenter: parent.horizontalCenter
                        text: sample.modelData.text
                        font: Theme.rowTitle
                    }
                }
            }
        }

        SVText {
            objectName: "title"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: onboarding.texts.title
            font: Theme.pageTitle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        SVText {
            objectName: "body"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: onboarding.model.stepName === "ready" ? onboarding.texts.body.replace("%1", onboarding.model.shortcutLabel) : onboarding.texts.body
            color: Theme.secondaryText
        }

        Row {
            objectName: "granted"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: onboarding.isGrant && onboarding.isGranted
            spacing: Theme.inControl

            Symbol {
                name: "checkmark.circle.fill"
                color: Theme.good
            }
            SVText {
                text: Texts.granted
                font: Theme.rowTitle
                color: Theme.good
            }
        }

        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: onboarding.isGrant && !onboarding.isGranted
            spacing: Theme.betweenRows

            SVPrimaryButtonStyle {
                objectName: "ask"
                anchors.horizontalCenter: parent.horizontalCenter
                text: onboarding.texts.ask || ""
                onClicked: {
                    onboarding.hasAsked = true;
                    onboarding.model.ask();
                }
            }
            PlainButton {
                objectName: "checkAgain"
                anchors.horizontalCenter: parent.horizontalCenter
                text: Texts.checkAgain
                visible: onboarding.hasAsked
                onClicked: onboarding.model.check()
            }
            LinkButton {
                objectName: "skipForNow"
                anchors.horizontalCenter: parent.horizontalCenter
                visible: onboarding.model.stepName === "speechRecognition"
                text: Texts.skipForNow
                onClicked: onboarding.model.goOn()
            }
        }

        SVText {
            objectName: "inputMonitoringHint"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            visible: onboarding.model.stepName === "inputMonitoring" && !onboarding.isGranted
            text: Texts.inputMonitoringHint
            font: Theme.caption
            color: Theme.secondaryText
        }

        SVCard {
            objectName: "privacyLine"
            visible: onboarding.model.stepName === "privacyTip"
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
            objectName: "grants"
            visible: onboarding.model.stepName === "ready"
            width: 300
            height: list.implicitHeight + 2 * padding
            anchors.horizontalCenter: parent.horizontalCenter

            Column {
                id: list

                width: parent.width
                spacing: Theme.betweenRows

                Repeater {
                    model: [{
                            "text": Texts.microphone,
                            "isGranted": onboarding.model.microphoneGranted
                        }, {
                            "text": Texts.accessibility,
                            "isGranted": onboarding.model.accessibilityGranted
                        }, {
                            "text": Texts.inputMonitoring,
                            "isGranted": onboarding.model.inputMonitoringGranted
                        }, {
                            "text": Texts.speechRecognition,
                            "isGranted": onboarding.model.speechRecognitionGranted
                        }]

                    Row {
                        id: grant

                        required property var modelData

                        spacing: Theme.inControl
                        Accessible.role: Accessible.ListItem
                        Accessible.name: modelData.text
                        Accessible.description: modelData.isGranted ? Texts.granted : Texts.notGranted

                        Symbol {
                            objectName: "grant." + grant.modelData.text
                            name: grant.modelData.isGranted ? "checkmark.circle.fill" : "xmark.circle.fill"
                            color: grant.modelData.isGranted ? Theme.good : Theme.danger
                        }
                        SVText {
                            text: grant.modelData.text
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
                model: 12

                Rectangle {
                    required property int index

                    width: 6
                    height: 6
                    radius: 3
                    color: index === onboarding.model.step ? Theme.accent : Theme.hairline
                }
            }
        }
        Row {
            anchors.right: parent.right
            anchors.rightMargin: Theme.pageEdge
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.betweenRows

            PlainButton {
                objectName: "skip"
                visible: onboarding.model.canSkip
                text: Texts.skip
                onClicked: onboarding.model.skip()
            }
            SVPrimaryButtonStyle {
                id: forward

                objectName: onboarding.model.isLast ? "getStarted" : "continue"
                focus: true
                text: onboarding.model.isLast ? Texts.getStarted : Texts.continueOn
                onClicked: onboarding.model.goOn()
            }
        }
    }
}
