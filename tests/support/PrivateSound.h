#pragma once

#include "tests/support/ChildProcess.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A PulseAudio server of a test's own: an output "vmic" that nobody hears, and a microphone "mic" that hears
/// it.
class PrivateSound {
public:
    enum class Microphone { present, absent };

    /// The microphone's rate and channels are those of the output.
    explicit PrivateSound(Microphone microphone = Microphone::present, int rate = 48000, int channels = 1);

    /// For PULSE_SERVER.
    std::string serverAddress() const { return "unix:" + directory_.path() + "/native"; }

    /// Plays a file into the microphone, once, until its end or the end of the process. A longer latency
    /// bears a busier machine.
    ChildProcess play(const std::string& wavPath, int latencyMilliseconds = 30) const;

    /// Makes the microphone appear, or go as if it were unplugged.
    void addMicrophone();
    void removeMicrophone();

    /// Runs pactl against the server and throws when it fails.
    void control(const std::vector<std::string>& arguments) const;

    /// The server itself: to stop it, freeze it, kill it.
    ChildProcess& server() { return *server_; }

    const std::string& directory() const { return directory_.path(); }

private:
    TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> server_;
};

} // namespace sonvale::tests
