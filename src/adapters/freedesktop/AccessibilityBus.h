#pragma once

#include "adapters/freedesktop/DBusClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// The bus on which programs report their contents to assistive technology (AT-SPI 2).
///
/// Uses plain D-Bus and not libatspi: the first call of libatspi does not return for more than a minute while
/// the session's bus hangs, and libatspi has one connection for the process. Connects at the first question,
/// and starts no bus for it. One thread at a time.
class AccessibilityBus {
public:
    /// `addressOfDisplay` returns the address that the display names (the property AT_SPI_BUS of its root
    /// window), or an empty text. It must return by the deadline that it is given. An empty session address
    /// means the address in the environment.
    AccessibilityBus(const runtime::Clock& clock, std::function<std::string(double)> addressOfDisplay,
                     std::string sessionAddress);

    /// As `DBusClient::ask`. Returns only nulls if there is no bus.
    std::vector<DBusMessagePointer> ask(const std::vector<DBusMessagePointer>& calls, double deadline);
    DBusMessagePointer ask(DBusMessagePointer call, double deadline);

    /// Waits for `seconds`, but not past the deadline. Returns early if the bus has ended.
    void pause(double seconds, double deadline);

    /// Connects, again if the bus has ended. Returns false if there is none.
    bool connect(double deadline);

private:
    bool connectTo(const std::string& address);
    std::string addressOfSession(double deadline);

    const runtime::Clock& clock_;
    const std::function<std::string(double)> addressOfDisplay_;
    const std::string sessionAddress_;
    std::unique_ptr<DBusClient> bus_;
    /// Kept only until it has given the address.
    std::unique_ptr<DBusClient> session_;
};

} // namespace sonvale::adapters::freedesktop
