#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// Two machines and the cable between them: network namespaces of the test's own, which an ordinary user may
/// make. A program runs on the near machine; the test's server listens on the far one.
class PrivateNetwork {
public:
    /// Throws `std::runtime_error` when the system does not allow it.
    PrivateNetwork();
    PrivateNetwork(const PrivateNetwork&) = delete;
    PrivateNetwork& operator=(const PrivateNetwork&) = delete;

    /// Runs the command that follows it on the near machine.
    std::vector<std::string> launcher() const;

    /// A socket that listens on the far machine at `serverUrl`; the caller closes it. Once.
    int listen() const;
    /// The address of a path there: `scheme` "https", "wss" or the like.
    static std::string serverUrl(const std::string& scheme, const std::string& path = "");

    /// The far machine answers nothing any more, as behind a router that forgot the connection.
    void fallSilent();
    /// The near machine gets another address, as on another Wi-Fi. Connections of before take and bring
    /// nothing more, and report no error; new ones work.
    void move();

private:
    void onNear(const std::vector<std::string>& command) const;
    void onFar(const std::vector<std::string>& command) const;

    ChildProcess near_;
    ChildProcess far_;
};

} // namespace sonvale::tests
