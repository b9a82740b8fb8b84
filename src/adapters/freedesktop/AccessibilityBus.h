#pragma once

#include "adapters/freedesktop/DBusClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// The bus on which programs tell assistive technology what they show (AT-SPI 2).
///
/// Plain D-Bus, not libatspi: the first call of that does not come back for more than a minute while the
/// session's bus hangs, and it has one connection for the process. Nothing is connected before the first
/// question, and no bus is started for it. One thread at a time.
class AccessibilityBus {
public:
    /// `addressOfDisplay` tells the address that the display names (the property AT_SPI_BUS of its root
    /// window), or an empty text; it has to return by the deadline that it is given. An empty session address
    /// means the environment's.
    AccessibilityBus(const runtime::Clock& clock, std::function<std::string(double)> addressOfDisplay,
                     std::string sessionAddress);

    /// As `DBusClient::ask`; nothing but nulls without a bus.
    std::vector<DBusMessagePointer> ask(const std::vector<DBusMessagePointer>& calls, double deadline);
    DBusMessagePointer ask(DBusMessagePointer call, double deadline);

    /// Lets `seconds` pass, at most until the deadline; returns early when the bus has gone.
    void pause(double seconds, double deadline);

    /// Connects, anew when the bus has gone. False when there is none.
    bool connect(double deadline);

private:
    bool connectTo(const std::string& address);
    std::string addressOfSession(double deadline);

    const runtime::Clock& clock_;
    const std::function<std::string(double)> addressOfDisplay_;
    const std::string sessionAddress_;
    std::unique_ptr<DBusClient> bus_;
    /// Only until it has told the address.
    std::unique_ptr<DBusClient> session_;
};

} // namespace sonvale::adapters::freedesktop
