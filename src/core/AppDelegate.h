#pragma once

#include "core/Environment.h"
#include "core/SharedAppServices.h"
#include "persistence/DataRetentionManager.h"
#include "runtime/OwnedTasks.h"

#include <functional>
#include <memory>
#include <string>

namespace sonvale::core {

/// Launches the program. Main actor.
class AppDelegate {
public:
    explicit AppDelegate(Environment environment)
        : environment_(std::move(environment)) {}

    /// Runs the launch sequence. Called once. Builds the services, applies the dock setting, passes the store
    /// to the controller, sets it up, records the launch and starts the daily cleaning. If a step needs the
    /// user, opens the dashboard a moment later.
    void applicationDidFinishLaunching();

    /// Brings the dashboard to the front, or opens it if it is not open. Called after the launch sequence.
    void openDashboard();

    /// Checks for a newer version and shows its page. Works as `platform::Updater::checkForUpdates`. Called
    /// after the launch sequence.
    runtime::Task<platform::UpdateOutcome> checkForUpdates() { return updater_->checkForUpdates(); }

    /// Creates the dashboard's window. Set once before the launch.
    std::function<void()> makeDashboardWindow;
    /// Opens the window with an identifier. Set by the menu after it has been shown.
    std::function<void(const std::string& identifier)> openWindow;

    /// Set by the launch sequence.
    const std::unique_ptr<SharedAppServices>& services() const { return services_; }

private:
    void startDataRetention();
    void prepareDashboard();

    Environment environment_;
    std::unique_ptr<SharedAppServices> services_;
    std::shared_ptr<persistence::DataRetentionManager> dataRetentionManager_;
    platform::Updater* updater_ = nullptr; ///< set by the launch sequence
    runtime::OwnedTasks tasks_{environment_.main, environment_.clock};
};

} // namespace sonvale::core
