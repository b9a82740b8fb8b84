#pragma once

#include <cstdint>
#include <functional>

namespace sonvale::platform {

/// How the machine reaches the network.
struct NetworkPath {
    bool isSatisfied = false; ///< whether anything can be reached
    bool usesWifi = false;
    bool usesCellular = false;
    bool usesWiredEthernet = false;
    /// A number for the set of the machine's addresses, except addresses of the machine itself and of the
    /// link; 0 if there is none. Another number means that earlier connections may be dead, even if nothing
    /// else has changed: on another Wi-Fi, or with a VPN.
    std::uint64_t addresses = 0;
    bool operator==(const NetworkPath&) const = default;
};

/// Reports the state of the link.
class PathMonitor {
public:
    PathMonitor() = default;
    PathMonitor(const PathMonitor&) = delete;
    PathMonitor& operator=(const PathMonitor&) = delete;
    /// Does what `cancel` does.
    virtual ~PathMonitor() = default;

    /// Starts to report: the present path shortly afterwards, and then every change. Calls `handler` on a
    /// thread that the monitor chooses, one call at a time. May be called once. Main actor.
    virtual void start(std::function<void(const NetworkPath&)> handler) = 0;

    /// Ends the reports. After it returns, the handler neither runs nor is called again, and it has been
    /// destroyed. Does nothing if the monitor was not started or is cancelled. Main actor; must not be called
    /// inside the handler.
    virtual void cancel() = 0;
};

} // namespace sonvale::platform
