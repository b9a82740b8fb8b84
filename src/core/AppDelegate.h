#pragma once

#include "core/Environment.h"
#include "core/SharedAppServices.h"
#include "persistence/DataRetentionManager.h"

#include <functional>
#include <memory>
#include <string>

namespace sonvale::core {

/// Brings the program up. Main actor.
class AppDelegate {
public:
    explicit AppDelegate(Environment environment)
        : environment_(std::move(environment)) {}

    /// The launch sequence, once: builds the services, applies the dock setting, hands the store to the
    /// controller, sets it up, records the launch and starts the daily cleaning. When there is something that
    /// only the user can do, the dashboard opens a moment later.
    void applicationDidFinishLaunching();

    /// Brings the dashboard to the front, opening it when it is not open. After the launch sequence.
    void openDashboard();

    /// Asks whether there is a newer version, and shows its page. As `platform::Updater::checkForUpdates`;
    /// after the launch sequence.
    runtime::Task<platform::UpdateOutcome> checkForUpdates() { return updater_->checkForUpdates(); }

    /// Set once before the launch: makes the dashboard's window.
    std::function<void()> makeDashboardWindow;
    /// Set by the menu once it has been up: its own way of opening the window with an identifier.
    std::function<void(const std::string& identifier)> openWindow;

    /// Set by the launch sequence.
    const std::unique_ptr<SharedAppServices>& services() const { return services_; }

private:
    void startDataRetention();
    void prepareDashboard();
    static runtime::Task<> openDashboardSoon(std::weak_ptr<AppDelegate*> weakSelf, runtime::Clock* clock);

    Environment environment_;
    std::unique_ptr<SharedAppServices> services_;
    std::shared_ptr<persistence::DataRetentionManager> dataRetentionManager_;
    platform::Updater* updater_ = nullptr; ///< set by the launch sequence
    std::shared_ptr<AppDelegate*> self_ = std::make_shared<AppDelegate*>(this); ///< tasks hold it weakly
};

} // namespace sonvale::core
