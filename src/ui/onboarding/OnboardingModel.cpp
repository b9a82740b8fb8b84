#include "ui/onboarding/OnboardingModel.h"

#include "base/Log.h"
#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "ui/common/Texts.h"

#include <utility>

namespace sonvale::ui {

namespace keys = persistence::keys;

OnboardingModel::OnboardingModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings)
    : appState_(std::move(appState))
    , settings_(settings)
    , permissions_(appState_->permissionsManager)
    , step_(onboardingStepAtStart(settings.stored(keys::onboardingStep))) {
    connect(&permissions_, &PermissionsModel::changed, this, &OnboardingModel::changed);
    if (!appState_->isOnboardingComplete.get())
        check();
}

std::optional<PermissionsModel::Permission> OnboardingModel::permission() const {
    using Permission = PermissionsModel::Permission;
    switch (step_) {
    case OnboardingStep::Microphone:
        return Permission::Microphone;
    case OnboardingStep::SpeechRecognition:
        return Permission::SpeechRecognition;
    case OnboardingStep::Accessibility:
        return Permission::Accessibility;
    case OnboardingStep::InputMonitoring:
        return Permission::InputMonitoring;
    default:
        return std::nullopt;
    }
}

bool OnboardingModel::isPermissionStep() const {
    return permission().has_value();
}

bool OnboardingModel::isGranted() const {
    const auto asked = permission();
    return asked && permissions_.isGranted(*asked);
}

QString OnboardingModel::shortcutLabel() const {
    const auto bindings = hotkeys::HotkeyBindingStore::load(settings_);
    const auto found = bindings.find(hotkeys::HotkeyAction::pushToTalk);
    return found == bindings.end() || found->second.configs.empty()
               ? QStringLiteral("Option + D")
               : toQString(found->second.configs.front().displayName);
}

void OnboardingModel::goBack() {
    if (canGoBack())
        moveTo(static_cast<OnboardingStep>(static_cast<int>(step_) - 1));
}

void OnboardingModel::goOn() {
    if (isLast()) {
        base::systemLog("[Onboarding] GET STARTED clicked — calling completeOnboarding()");
        appState_->completeOnboarding();
        return;
    }
    const int number = static_cast<int>(step_);
    base::systemLog(fmt::format("[Onboarding] CONTINUE clicked — current step {} → {}", number, number + 1));
    moveTo(static_cast<OnboardingStep>(number + 1));
}

void OnboardingModel::skip() {
    if (canSkip())
        moveTo(lastOnboardingStep);
}

void OnboardingModel::moveTo(OnboardingStep step) {
    step_ = step;
    settings_.set(keys::onboardingStep, static_cast<std::int64_t>(step));
    settings_.synchronize();
    Q_EMIT changed();
    Q_EMIT stepChanged();
    check();
}

void OnboardingModel::ask() {
    if (const auto asked = permission())
        permissions_.request(*asked);
}

void OnboardingModel::check() {
    if (const auto asked = permission())
        permissions_.check(*asked);
    else if (step_ == OnboardingStep::Ready)
        permissions_.checkAllLater();
}

} // namespace sonvale::ui
