#pragma once

#include "core/Environment.h"
#include "core/SharedAppServices.h"
#include "persistence/DataRetentionManager.h"

#include <memory>

namespace sonvale::core {

/// Brings the program up. Main actor.
class AppDelegate {
public:
    explicit AppDelegate(Environment environment)
        : environment_(std::move(environment)) {}

    /// The launch sequence, once: builds the services, applies the dock setting, hands the store to the
    /// controller, sets it up, records the launch and starts the daily cleaning.
    void applicationDidFinishLaunching();

    /// Set by the launch sequence.
    const std::unique_ptr<SharedAppServices>& services() const { return services_; }

private:
    void startDataRetention();

    Environment environment_;
    std::unique_ptr<SharedAppServices> services_;
    std::shared_ptr<persistence::DataRetentionManager> dataRetentionManager_;
};

} // namespace sonvale::core
