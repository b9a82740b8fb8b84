#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace sonvale::ui {

/// The steps that a new user is led through, in their order. The raw value is what is stored.
enum class OnboardingStep : std::int64_t {
    welcome,
    microphone,
    speechRecognition,
    accessibility,
    inputMonitoring,
    ready,
    howToUse,
    pushToTalk,
    handsFree,
    processingExplainer,
    privacyTip,
    accessingApp,
};

inline constexpr auto lastOnboardingStep = OnboardingStep::accessingApp;

/// The step to begin at; the first one unless a later one is stored.
OnboardingStep onboardingStepAtStart(std::optional<std::int64_t> stored);

/// Such as "speechRecognition".
std::string_view caseName(OnboardingStep step);

/// The tour, which can be passed over.
bool canSkip(OnboardingStep step);

} // namespace sonvale::ui
