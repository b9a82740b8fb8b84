#pragma once

#include "tests/support/ChildProcess.h"

#include <map>
#include <memory>
#include <string>

namespace sonvale::tests {

/// A private D-Bus session of a test. The services that it starts get `environment`, and end with it.
class PrivateBus {
public:
    explicit PrivateBus(const std::map<std::string, std::string>& environment = {});

    /// For DBUS_SESSION_BUS_ADDRESS.
    std::string address() const { return "unix:path=" + directory_.path() + "/bus"; }

private:
    TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> daemon_;
};

} // namespace sonvale::tests
