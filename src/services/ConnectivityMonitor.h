#pragma once

#include "base/Observed.h"
#include "platform/PathMonitor.h"
#include "runtime/Actor.h"

#include <memory>

namespace sonvale::services {

enum class ConnectionType { wifi, cellular, wired, unknown };

/// Whether the machine is online, and by what kind of link. Main actor. Nothing is decided by it: an offline
/// machine is found out by calls that fail.
class ConnectivityMonitor {
public:
    /// Starts `monitor`, which must outlive it.
    ConnectivityMonitor(runtime::Actor main, platform::PathMonitor& monitor);
    /// Cancels the monitor.
    ~ConnectivityMonitor();
    ConnectivityMonitor(const ConnectivityMonitor&) = delete;
    ConnectivityMonitor& operator=(const ConnectivityMonitor&) = delete;

    base::Observed<bool>& isConnected() { return state_->isConnected; } ///< true before the first report
    base::Observed<ConnectionType>& connectionType() { return state_->connectionType; }

private:
    platform::PathMonitor& monitor_;
    struct State {
        base::Observed<bool> isConnected{true};
        base::Observed<ConnectionType> connectionType{ConnectionType::unknown};
    };
    const std::shared_ptr<State> state_ = std::make_shared<State>(); ///< held weakly by the reports
};

} // namespace sonvale::services
