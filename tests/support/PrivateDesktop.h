#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/PrivateSound.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A complete user's session for one test: a display with a window manager, a D-Bus session, a sound server
/// with a microphone, and a home folder. It contains nothing of the machine's own session. The destructor
/// ends it.
class PrivateDesktop {
public:
    enum class Sound { withMicrophone, withoutMicrophone, none };

    explicit PrivateDesktop(WindowManager windowManager = WindowManager::openbox,
                            Sound sound = Sound::withMicrophone);

    const std::string& display() const { return display_.name(); }

    /// Throws if the desktop has no sound server.
    PrivateSound& sound();

    /// Returns the variables of a program in this desktop.
    std::map<std::string, std::string> environment() const;
    /// Returns the variables that it must not inherit from the machine's own session.
    static std::vector<std::string> withoutEnvironment();

    /// Starts a program in this desktop. `outputFile` receives its output.
    ChildProcess start(std::vector<std::string> arguments, const std::string& outputFile = {},
                       const std::map<std::string, std::string>& more = {}) const;

    std::filesystem::path folder() const { return directory_.path(); }
    std::filesystem::path configuration() const { return folder() / "config"; }
    std::filesystem::path data() const { return folder() / "data"; }
    std::filesystem::path runtime() const { return folder() / "run"; }

    /// Takes a picture of the whole screen. Returns false if that fails.
    bool screenshot(const std::filesystem::path& pngFile) const;

private:
    TemporaryDirectory directory_;
    PrivateDisplay display_;
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<PrivateSound> sound_;
};

} // namespace sonvale::tests
