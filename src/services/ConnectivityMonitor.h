#pragma once

#include "base/Observed.h"
#include "platform/PathMonitor.h"
#include "runtime/Actor.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace sonvale::services {

enum class ConnectionType { wifi, cellular, wired, unknown };

/// Whether the machine is online, and by what kind of link. Main actor. No call depends on it: an offline
/// machine is found out by calls that fail. A change only closes connections that wait for use.
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

    /// `handler` is called after each report of another path than the one before, not for the first. One
    /// handler.
    void setOnPathChange(std::function<void()> handler) { state_->onPathChange = std::move(handler); }

private:
    platform::PathMonitor& monitor_;
    struct State {
        base::Observed<bool> isConnected{true};
        base::Observed<ConnectionType> connectionType{ConnectionType::unknown};
        std::optional<platform::NetworkPath> path; ///< of the last report
        std::function<void()> onPathChange;
    };
    const std::shared_ptr<State> state_ = std::make_shared<State>(); ///< held weakly by the reports
};

} // namespace sonvale::services
