import QtQuick
import SonVale

/// The pages of the onboarding in the order of their steps.
QtObject {
    readonly property list<OnboardingPage> all: [
        OnboardingPage {
            step: OnboardingStep.Welcome
            symbol: "Logo"
            title: Texts.welcomeTitle
            body: Texts.welcomeBody
        },
        OnboardingPage {
            step: OnboardingStep.Microphone
            symbol: "mic"
            title: Texts.microphoneTitle
            body: Texts.microphoneBody
            ask: Texts.microphoneAsk
        },
        OnboardingPage {
            step: OnboardingStep.SpeechRecognition
            symbol: "waveform"
            title: Texts.speechRecognitionTitle
            body: Texts.speechRecognitionBody
            ask: Texts.speechRecognitionAsk
        },
        OnboardingPage {
            step: OnboardingStep.Accessibility
            symbol: "accessibility"
            title: Texts.accessibilityTitle
            body: Texts.accessibilityBody
            ask: Texts.accessibilityAsk
        },
        OnboardingPage {
            step: OnboardingStep.InputMonitoring
            symbol: "keyboard"
            title: Texts.inputMonitoringTitle
            body: Texts.inputMonitoringBody
            ask: Texts.inputMonitoringAsk
        },
        OnboardingPage {
            step: OnboardingStep.Ready
            symbol: "checkmark.circle.fill"
            title: Texts.readyTitle
            body: Texts.readyBody
        },
        OnboardingPage {
            step: OnboardingStep.HowToUse
            symbol: "questionmark.circle"
            title: Texts.howToUseTitle
            body: Texts.howToUseBody
        },
        OnboardingPage {
            step: OnboardingStep.PushToTalk
            title: Texts.pushToTalkTitle
            body: Texts.pushToTalkBody
        },
        OnboardingPage {
            step: OnboardingStep.HandsFree
            title: Texts.handsFreeTitle
            body: Texts.handsFreeBody
        },
        OnboardingPage {
            step: OnboardingStep.ProcessingExplainer
            title: Texts.processingExplainerTitle
            body: Texts.processingExplainerBody
        },
        OnboardingPage {
            step: OnboardingStep.PrivacyTip
            symbol: "lock"
            title: Texts.privacyTipTitle
            body: Texts.privacyTipBody
        },
        OnboardingPage {
            step: OnboardingStep.AccessingApp
            symbol: "macwindow"
            title: Texts.accessingAppTitle
            body: Texts.accessingAppBody
        }
    ]
}
