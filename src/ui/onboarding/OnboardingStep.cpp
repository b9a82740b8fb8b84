#include "ui/onboarding/OnboardingStep.h"

#include <array>

namespace sonvale::ui {

namespace {

constexpr std::array<std::string_view, 12> names{
    "welcome",  "microphone", "speechRecognition", "accessibility",       "inputMonitoring", "ready",
    "howToUse", "pushToTalk", "handsFree",         "processingExplainer", "privacyTip",      "accessingApp"};
static_assert(names.size() == static_cast<std::size_t>(lastOnboardingStep) + 1);

} // namespace

OnboardingStep onboardingStepAtStart(std::optional<std::int64_t> stored) {
    const auto value = stored.value_or(0);
    const bool isKnown = value >= 0 && value <= static_cast<std::int64_t>(lastOnboardingStep);
    return isKnown ? static_cast<OnboardingStep>(value) : OnboardingStep::welcome;
}

std::string_view caseName(OnboardingStep step) {
    return names.at(static_cast<std::size_t>(step));
}

bool canSkip(OnboardingStep step) {
    return step >= OnboardingStep::howToUse && step <= OnboardingStep::privacyTip;
}

} // namespace sonvale::ui
