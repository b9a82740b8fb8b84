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

/// The state of the machine's link: whether it is online, and by what kind of link. Main actor. No call
/// depends on it, because calls fail by themselves on an offline machine. A change only closes idle
/// connections.
class ConnectivityMonitor {
public:
    /// Starts `monitor`, which must outlive it.
    ConnectivityMonitor(runtime::Actor main, platform::PathMonitor& monitor);
    /// Cancels the monitor.
    ~ConnectivityMonitor();
    ConnectivityMonitor(const ConnectivityMonitor&) = delete;
    ConnectivityMonitor& operator=(const ConnectivityMonitor&) = delete;

    base::Observed<bool>& isConnected() { return state_->isConnected; } ///< true until the first report
    base::Observed<ConnectionType>& connectionType() { return state_->connectionType; }

    /// Sets the one handler, which is called after each report of another path than the previous one, but not
    /// for the first report.
    void setOnPathChange(std::function<void()> handler) { state_->onPathChange = std::move(handler); }

private:
    platform::PathMonitor& monitor_;
    struct State {
        base::Observed<bool> isConnected{true};
        base::Observed<ConnectionType> connectionType{ConnectionType::unknown};
        std::optional<platform::NetworkPath> path; ///< path of the last report
        std::function<void()> onPathChange;
    };
    const std::shared_ptr<State> state_ = std::make_shared<State>(); ///< the reports hold it weakly
};

} // namespace sonvale::services
