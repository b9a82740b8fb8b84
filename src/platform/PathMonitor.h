#pragma once

#include <cstdint>
#include <functional>

namespace sonvale::platform {

/// What the machine's way into the network is like.
struct NetworkPath {
    bool isSatisfied = false; ///< something can be reached
    bool usesWifi = false;
    bool usesCellular = false;
    bool usesWiredEthernet = false;
    /// Stands for the set of the machine's addresses beyond itself and the link; 0 without any. Another value
    /// means that earlier connections may be dead, also when nothing else has changed: on another Wi-Fi,
    /// or with a VPN.
    std::uint64_t addresses = 0;
    bool operator==(const NetworkPath&) const = default;
};

/// Tells of the state of the link.
class PathMonitor {
public:
    PathMonitor() = default;
    PathMonitor(const PathMonitor&) = delete;
    PathMonitor& operator=(const PathMonitor&) = delete;
    /// As `cancel`.
    virtual ~PathMonitor() = default;

    /// Begins to report: the path as it is, soon, and then every change. `handler` is called on a thread of
    /// the monitor's choosing, one call at a time. Once; main actor.
    virtual void start(std::function<void(const NetworkPath&)> handler) = 0;

    /// Ends the reports: when it returns, the handler neither runs nor is called again, and it has been
    /// destroyed. Does nothing if the monitor was not started or is cancelled. Main actor; not from within
    /// the handler.
    virtual void cancel() = 0;
};

} // namespace sonvale::platform
