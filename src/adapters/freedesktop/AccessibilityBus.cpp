#include "adapters/freedesktop/AccessibilityBus.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string sessionAddressOfEnvironment() {
    auto address = environmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.empty())
        return address;
    const auto folder = environmentVariable("XDG_RUNTIME_DIR");
    return folder.empty() ? std::string() : "unix:path=" + folder + "/bus";
}

} // namespace

AccessibilityBus::AccessibilityBus(const runtime::Clock& clock,
                                   std::function<std::string(double)> addressOfDisplay,
                                   std::string sessionAddress)
    : clock_(clock)
    , addressOfDisplay_(std::move(addressOfDisplay))
    , sessionAddress_(std::move(sessionAddress)) {}

std::vector<DBusMessagePointer> AccessibilityBus::ask(const std::vector<DBusMessagePointer>& calls,
                                                      double deadline) {
    if (!bus_)
        return std::vector<DBusMessagePointer>(calls.size());
    return bus_->ask(calls, deadline);
}

DBusMessagePointer AccessibilityBus::ask(DBusMessagePointer call, double deadline) {
    return bus_ ? bus_->ask(std::move(call), deadline) : nullptr;
}

void AccessibilityBus::pause(double seconds, double deadline) {
    if (bus_)
        bus_->pauseUntil(std::min(clock_.now() + seconds, deadline));
}

bool AccessibilityBus::connect(double deadline) {
    // Only a read notices that the bus has ended.
    if (bus_ && bus_->ask(dbusCall(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_PEER, "Ping"), deadline))
        return true;
    if (bus_ && bus_->isAlive())
        return false;
    // The order in which programs look for the bus.
    return connectTo(environmentVariable("AT_SPI_BUS_ADDRESS")) || connectTo(addressOfDisplay_(deadline)) ||
           connectTo(addressOfSession(deadline));
}

bool AccessibilityBus::connectTo(const std::string& address) {
    if (address.empty())
        return false;
    bus_ = std::make_unique<DBusClient>(address, clock_);
    return bus_->isAlive();
}

std::string AccessibilityBus::addressOfSession(double deadline) {
    if (!session_ || !session_->isAlive()) {
        const auto address = sessionAddress_.empty() ? sessionAddressOfEnvironment() : sessionAddress_;
        if (address.empty())
            return {};
        session_ = std::make_unique<DBusClient>(address, clock_);
    }
    const auto answer =
        session_->ask(dbusCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress"), deadline);
    if (!answer)
        return {};
    session_.reset();
    const char* address = nullptr;
    if (!dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_STRING, &address, DBUS_TYPE_INVALID))
        return {};
    return address;
}

} // namespace sonvale::adapters::freedesktop
