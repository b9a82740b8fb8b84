#pragma once

#include "tests/support/ChildProcess.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// mpv with its MPRIS script. It plays a tone without output.
class MpvPlayer {
public:
    /// Starts the player. Returns when it answers over the bus.
    MpvPlayer(const std::string& busAddress, bool isPlaying);
    ~MpvPlayer();
    MpvPlayer(const MpvPlayer&) = delete;
    MpvPlayer& operator=(const MpvPlayer&) = delete;

    /// Plays or pauses as the user does in the player's window.
    void setPlaying(bool isPlaying);
    /// Returns the player's answer: "Playing", "Paused" or "Stopped".
    std::string status() const;
    /// Returns the last status that the player has reported by itself, which happens a moment later; empty
    /// before that.
    std::string reportedStatus();
    void quit() { process_.end(); }

private:
    class Bus;

    TemporaryDirectory directory_;
    const std::unique_ptr<Bus> bus_;
    ChildProcess process_;
};

} // namespace sonvale::tests
