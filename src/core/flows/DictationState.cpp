#include "core/flows/DictationState.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"

namespace sonvale::core {

DictationState::DictationState(const persistence::Settings& settings)
    : isOnboardingComplete(settings.read(persistence::keys::isOnboardingComplete)) {}

void DictationState::surface(const std::string& message, const std::string& logText) {
    // If no panel shows the menu, the log is where the user can find the reason.
    if (errorMessage.set(message))
        base::Logger("AppState").error("{}", logText);
}

} // namespace sonvale::core
