#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// Two machines and the cable between them: private network namespaces, which an ordinary user may make. A
/// program runs on the near machine; the test's server listens on the far one.
class PrivateNetwork {
public:
    /// Throws `std::runtime_error` if the system does not allow it.
    PrivateNetwork();
    PrivateNetwork(const PrivateNetwork&) = delete;
    PrivateNetwork& operator=(const PrivateNetwork&) = delete;

    /// Returns the command that runs the command after it on the near machine.
    std::vector<std::string> launcher() const;

    /// Returns a socket that listens on the far machine at `serverUrl`. The caller closes it. May be called
    /// once.
    int listen() const;
    /// Returns the address of a path on the far machine. `scheme` is "https", "wss" or the like.
    static std::string serverUrl(const std::string& scheme, const std::string& path = "");

    /// Stops all answers of the far machine, like a router that has forgotten the connection.
    void fallSilent();
    /// Gives the near machine another address, as on another Wi-Fi. Earlier connections transfer nothing more
    /// and report no error; new ones work.
    void move();

private:
    void onNear(const std::vector<std::string>& command) const;
    void onFar(const std::vector<std::string>& command) const;

    ChildProcess near_;
    ChildProcess far_;
};

} // namespace sonvale::tests
