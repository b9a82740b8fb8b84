#include "ui/onboarding/OnboardingModel.h"

#include "base/Log.h"
#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "ui/common/Texts.h"

namespace sonvale::ui {

namespace keys = persistence::keys;

OnboardingModel::OnboardingModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings)
    : GrantsModel(std::move(appState))
    , settings_(settings)
    , step_(onboardingStepAtStart(settings.stored(keys::onboardingStep))) {
    if (!this->appState().isOnboardingComplete.get())
        check();
}

QString OnboardingModel::stepName() const {
    return textOf(caseName(step_));
}

QString OnboardingModel::shortcutLabel() const {
    const auto bindings = hotkeys::HotkeyBindingStore::load(settings_);
    const auto found = bindings.find(hotkeys::HotkeyAction::pushToTalk);
    return found == bindings.end() || found->second.configs.empty()
               ? QStringLiteral("Option + D")
               : textOf(found->second.configs.front().displayName);
}

void OnboardingModel::goBack() {
    if (canGoBack())
        moveTo(static_cast<OnboardingStep>(step() - 1));
}

void OnboardingModel::goOn() {
    if (isLast()) {
        base::systemLog("[Onboarding] GET STARTED clicked — calling completeOnboarding()");
        appState().completeOnboarding();
        return;
    }
    const auto next = static_cast<OnboardingStep>(step() + 1);
    base::systemLog(
        fmt::format("[Onboarding] CONTINUE clicked — current step {} → {}", step(), static_cast<int>(next)));
    moveTo(next);
}

void OnboardingModel::skip() {
    if (canSkip())
        moveTo(lastOnboardingStep);
}

void OnboardingModel::moveTo(OnboardingStep step) {
    step_ = step;
    settings_.set(keys::onboardingStep, static_cast<std::int64_t>(step));
    settings_.synchronize();
    Q_EMIT stepChanged();
    check();
}

void OnboardingModel::ask() {
    switch (step_) {
    case OnboardingStep::microphone:
        permissions().requestMicrophoneWithPolling();
        break;
    case OnboardingStep::speechRecognition:
        permissions().requestSpeechRecognitionWithPolling();
        break;
    case OnboardingStep::accessibility:
        permissions().requestAccessibilityPrompt();
        permissions().pollAccessibility();
        break;
    case OnboardingStep::inputMonitoring:
        permissions().openInputMonitoringAndPoll();
        break;
    default:
        break;
    }
}

void OnboardingModel::check() {
    switch (step_) {
    case OnboardingStep::microphone:
        permissions().checkMicrophoneLater();
        break;
    case OnboardingStep::speechRecognition:
        permissions().checkSpeechRecognition();
        break;
    case OnboardingStep::accessibility:
        permissions().checkAccessibility();
        break;
    case OnboardingStep::inputMonitoring:
        permissions().checkInputMonitoring();
        break;
    case OnboardingStep::ready:
        permissions().refreshLater();
        break;
    default:
        break;
    }
}

} // namespace sonvale::ui
