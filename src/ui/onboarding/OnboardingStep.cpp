#include "ui/onboarding/OnboardingStep.h"

#include <QMetaEnum>
#include <cctype>

namespace sonvale::ui {

OnboardingStep onboardingStepAtStart(std::optional<std::int64_t> stored) {
    const auto value = stored.value_or(0);
    const bool isKnown = value >= 0 && value <= static_cast<std::int64_t>(lastOnboardingStep);
    return isKnown ? static_cast<OnboardingStep>(value) : OnboardingStep::Welcome;
}

std::string caseName(OnboardingStep step) {
    std::string name = QMetaEnum::fromType<OnboardingStep>().valueToKey(static_cast<int>(step));
    name.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(name.front())));
    return name;
}

bool canSkip(OnboardingStep step) {
    return step >= OnboardingStep::HowToUse && step <= OnboardingStep::PrivacyTip;
}

} // namespace sonvale::ui
