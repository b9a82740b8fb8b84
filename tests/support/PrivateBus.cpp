#include "tests/support/PrivateBus.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

/// Returns whether the socket accepts connections; its file appears a moment earlier.
bool canConnect(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isConnected =
        connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socket);
    return isConnected;
}

} // namespace

PrivateBus::PrivateBus(const std::map<std::string, std::string>& environment) {
    ChildProcess::Options daemon;
    daemon.arguments = {"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address()};
    daemon.environment = environment;
    daemon.environment["DBUS_SESSION_BUS_ADDRESS"] = address();
    daemon.outputFile = directory_.path() + "/dbus.log";
    daemon_ = std::make_unique<ChildProcess>(std::move(daemon));
    if (!eventually(30, [this] { return canConnect(directory_.path() + "/bus"); }))
        throw std::runtime_error("the D-Bus session did not start");
}

} // namespace sonvale::tests
