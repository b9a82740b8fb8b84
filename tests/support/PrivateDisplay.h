#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"

#include <memory>
#include <string>

namespace sonvale::tests {

enum class WindowManager { none, openbox, xfwm4 };

/// A private X server of a test (Xvfb), with a window manager if requested.
class PrivateDisplay {
public:
    /// `serverArguments` are added to the server's own.
    explicit PrivateDisplay(WindowManager windowManager = WindowManager::none,
                            std::vector<std::string> serverArguments = {});

    /// ":7", for DISPLAY.
    const std::string& name() const { return name_; }

    /// Sends a signal to the server, to stop, continue or end it.
    void signalServer(int number) const { server_->signal(number); }

private:
    TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> server_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<ChildProcess> windowManager_;
    std::string name_;
};

} // namespace sonvale::tests
