#pragma once

#include "tests/support/ChildProcess.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A private PulseAudio server of a test: an output "vmic", and a microphone "mic" that records it.
class PrivateSound {
public:
    enum class Microphone { present, absent };

    /// The output and the microphone have the same rate and channels.
    explicit PrivateSound(Microphone microphone = Microphone::present, int rate = 48000, int channels = 1);

    /// For PULSE_SERVER.
    std::string serverAddress() const { return "unix:" + directory_.path() + "/native"; }

    /// Plays a file into the microphone once, until its end or the end of the process. A longer latency
    /// tolerates a busier machine.
    ChildProcess play(const std::string& wavPath, int latencyMilliseconds = 30) const;

    /// Adds the microphone, or removes it like an unplugged one.
    void addMicrophone();
    void removeMicrophone();

    /// Runs pactl with the server. Throws if it fails.
    void control(const std::vector<std::string>& arguments) const;

    /// Returns the server's process, to stop, freeze or kill it.
    ChildProcess& server() { return *server_; }

    const std::string& directory() const { return directory_.path(); }

private:
    TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> server_;
};

} // namespace sonvale::tests
