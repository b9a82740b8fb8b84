#pragma once

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::ui {

/// Holds the steps for QML, which knows them as `OnboardingStep.Welcome` and so on.
namespace onboarding {

Q_NAMESPACE
QML_NAMED_ELEMENT(OnboardingStep)

/// The steps of the onboarding in their order. The value is what is stored.
enum class Step {
    Welcome,
    Microphone,
    SpeechRecognition,
    Accessibility,
    InputMonitoring,
    Ready,
    HowToUse,
    PushToTalk,
    HandsFree,
    ProcessingExplainer,
    PrivacyTip,
    AccessingApp,
};
Q_ENUM_NS(Step)

} // namespace onboarding

using OnboardingStep = onboarding::Step;

inline constexpr auto lastOnboardingStep = OnboardingStep::AccessingApp;

/// Returns the step to begin at: the stored one, or the first step if none is stored or the value is no
/// step's.
OnboardingStep onboardingStepAtStart(std::optional<std::int64_t> stored);

/// Returns the name of the step, such as "speechRecognition".
std::string caseName(OnboardingStep step);

/// Returns whether the step belongs to the tour, which the user can skip.
bool canSkip(OnboardingStep step);

} // namespace sonvale::ui
