#include "core/AppDelegate.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"

namespace sonvale::core {

namespace keys = persistence::keys;

void AppDelegate::applicationDidFinishLaunching() {
    services_ = std::make_unique<SharedAppServices>(environment_);
    const auto& appState = services_->appState();

    // Only a real boolean says no; an absent or foreign value leaves the place in the dock.
    const bool isInDock = environment_.settings.stored(keys::showInDock).value_or(true);
    environment_.application.setActivationPolicy(isInDock ? platform::ActivationPolicy::regular
                                                          : platform::ActivationPolicy::accessory);

    appState->modelContext = &services_->modelContainer().mainContext();
    appState->setup();
    environment_.auditLogger.logAppLaunch();
    startDataRetention();
    base::systemLog(fmt::format("[AppDelegate] Initialization complete — isOnboardingComplete={}",
                                appState->isOnboardingComplete.get()));
}

void AppDelegate::startDataRetention() {
    dataRetentionManager_ =
        std::make_shared<persistence::DataRetentionManager>(persistence::DataRetentionManager::Parts{
            .main = environment_.main,
            .clock = environment_.clock,
            .settings = environment_.settings,
            .auditLogger = environment_.auditLogger,
            .secureRandom = environment_.secureRandom,
            .temporaryDirectory = environment_.directories.temporary,
        });
    dataRetentionManager_->modelContext = &services_->modelContainer().mainContext();
    dataRetentionManager_->startCleanup();
}

} // namespace sonvale::core
