#include "tests/support/PrivateBus.h"

#include <filesystem>
#include <stdexcept>

namespace sonvale::tests {

PrivateBus::PrivateBus(const std::map<std::string, std::string>& environment) {
    ChildProcess::Options daemon;
    daemon.arguments = {"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address()};
    daemon.environment = environment;
    daemon.environment["DBUS_SESSION_BUS_ADDRESS"] = address();
    daemon.outputFile = directory_.path() + "/dbus.log";
    daemon_ = std::make_unique<ChildProcess>(std::move(daemon));
    if (!eventually(30, [this] { return std::filesystem::exists(directory_.path() + "/bus"); }))
        throw std::runtime_error("the D-Bus session did not start");
}

} // namespace sonvale::tests
