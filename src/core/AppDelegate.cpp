#include "core/AppDelegate.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"

namespace sonvale::core {

namespace keys = persistence::keys;

namespace {

constexpr double dashboardDelay = 0.2;
constexpr const char* dashboardTitle = "Son Vale Dashboard";
constexpr const char* storePutAsideMessage =
    "Your saved history could not be opened. It was put aside, and a new one has been started.";

} // namespace

void AppDelegate::applicationDidFinishLaunching() {
    services_ = std::make_unique<SharedAppServices>(environment_);
    const auto& appState = services_->appState();

    // Only a boolean can turn the setting off. If it is absent or of another type, the dock shows the
    // program.
    const bool isInDock = environment_.settings.stored(keys::showInDock).value_or(true);
    environment_.application.setActivationPolicy(isInDock ? platform::ActivationPolicy::regular
                                                          : platform::ActivationPolicy::accessory);

    appState->modelContext = &services_->modelContainer().mainContext();
    appState->setup();
    if (services_->modelContainer().storePutAside())
        appState->surfaceError(storePutAsideMessage);
    environment_.auditLogger.logAppLaunch();
    startDataRetention();
    base::systemLog(fmt::format("[AppDelegate] Initialization complete — isOnboardingComplete={}",
                                appState->isOnboardingComplete.get()));
    updater_ = &environment_.updater;

    if (!appState->isOnboardingComplete.get() || !appState->isModelReachable())
        tasks_.later<AppDelegate>(*this, dashboardDelay, &AppDelegate::openDashboard);
}

void AppDelegate::openDashboard() {
    environment_.main.assertCurrent();
    if (environment_.application.makeKeyAndOrderFront(dashboardTitle))
        return;
    prepareDashboard();
    if (openWindow) {
        base::systemLog("[AppDelegate] Opening dashboard via stored SwiftUI action");
        openWindow("dashboard");
    } else {
        base::systemLog("[AppDelegate] Opening dashboard via NSHostingController (bridge not yet available)");
        makeDashboardWindow();
    }
}

/// Sets up the controller if the window opens before the launch sequence.
void AppDelegate::prepareDashboard() {
    const auto& appState = services_->appState();
    if (appState->modelContext)
        return;
    base::systemLog("[Dashboard] Initializing AppState from dashboard window (late init)");
    appState->modelContext = &services_->modelContainer().mainContext();
    appState->setup();
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
            .applicationSupport = environment_.directories.applicationSupport,
        });
    dataRetentionManager_->modelContext = &services_->modelContainer().mainContext();
    dataRetentionManager_->startCleanup();
}

} // namespace sonvale::core
