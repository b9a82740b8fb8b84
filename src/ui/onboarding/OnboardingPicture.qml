import QtQuick
import SonVale

/// The picture of a step above its title.
Item {
    id: picture

    required property OnboardingPage page
    readonly property bool isPushToTalk: page.step === OnboardingStep.PushToTalk
    readonly property bool isHandsFree: page.step === OnboardingStep.HandsFree
    readonly property bool isTour: isPushToTalk || isHandsFree
    property bool isKeyDown: false
    property bool isListening: false

    implicitHeight: 152

    onPageChanged: play()
    Component.onCompleted: play()

    /// Starts the animation of the step. Without motion, the picture shows a speaking user.
    function play() {
        pushToTalkPulse.stop();
        breatheAnimation.stop();
        isListening = isTour;
        isKeyDown = isPushToTalk;
        if (Theme.motion > 0 && isPushToTalk)
            pushToTalkPulse.start();
        else if (Theme.motion > 0 && isHandsFree)
            breatheAnimation.start();
    }

    function show(keyIsDown, ringIsListening) {
        isKeyDown = keyIsDown;
        isListening = ringIsListening;
    }

    SequentialAnimation {
        id: pushToTalkPulse

        loops: 4

        ScriptAction {
            script: picture.show(false, false)
        }
        PauseAnimation {
            duration: 900
        }
        ScriptAction {
            script: picture.show(true, true)
        }
        PauseAnimation {
            duration: 2200
        }
    }

    SequentialAnimation {
        id: breatheAnimation

        loops: 4

        ScriptAction {
            script: picture.show(true, false)
        }
        PauseAnimation {
            duration: 160
        }
        ScriptAction {
            script: picture.show(false, true)
        }
        PauseAnimation {
            duration: 2200
        }
        ScriptAction {
            script: picture.show(true, true)
        }
        PauseAnimation {
            duration: 160
        }
        ScriptAction {
            script: picture.show(false, false)
        }
        PauseAnimation {
            duration: 900
        }
        ScriptAction {
            script: picture.show(false, true)
        }
    }

    Rectangle {
        anchors.centerIn: parent
        visible: picture.page.symbol !== ""
        width: 112
        height: 112
        radius: 56
        color: picture.page.step === OnboardingStep.Ready ? Theme.tint(Theme.good, 0.12) : Theme.tint(Theme.accent, 0.12)

        Symbol {
            anchors.centerIn: parent
            name: picture.page.symbol
            size: 52
            color: picture.page.step === OnboardingStep.Ready ? Theme.good : Theme.accent
        }
    }

    Row {
        anchors.centerIn: parent
        visible: picture.isTour
        spacing: 40

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: 96
            height: 76

            Rectangle {
                width: parent.width
                height: 70
                y: 6
                radius: Theme.cardRadius
                color: Theme.hairline
            }
            Rectangle {
                width: parent.width
                height: 70
                y: picture.isKeyDown ? 4 : 0
                radius: Theme.cardRadius
                color: picture.isKeyDown ? Theme.raised : Theme.surface
                border.width: 1
                border.color: Theme.fieldLine

                Behavior on y  {
                    NumberAnimation {
                        duration: Theme.motion
                        easing.type: Easing.OutCubic
                    }
                }

                Symbol {
                    anchors.centerIn: parent
                    name: "hand.tap"
                    size: 32
                    color: Theme.accent
                }
            }
        }
        RingSample {
            objectName: "sampleRing"
            anchors.verticalCenter: parent.verticalCenter
            isOn: picture.isListening
        }
    }

    Row {
        anchors.centerIn: parent
        visible: picture.page.step === OnboardingStep.ProcessingExplainer
        spacing: 64

        OnboardingSample {
            name: "listening"
            text: Texts.listening
        }
        OnboardingSample {
            name: "working"
            text: Texts.polishing
            isWorking: true
        }
    }
}
