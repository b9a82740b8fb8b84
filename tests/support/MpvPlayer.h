#pragma once

#include "tests/support/ChildProcess.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// mpv with its MPRIS script, playing a tone to nowhere.
class MpvPlayer {
public:
    /// Returns when the player can be asked over the bus.
    MpvPlayer(const std::string& busAddress, bool isPlaying);
    ~MpvPlayer();
    MpvPlayer(const MpvPlayer&) = delete;
    MpvPlayer& operator=(const MpvPlayer&) = delete;

    /// As the user does in the player's own window.
    void setPlaying(bool isPlaying);
    /// "Playing", "Paused" or "Stopped", as the player says when it is asked; waits for its answer.
    std::string status() const;
    /// The newest that the player has told everybody by itself, which it does a moment later; empty before
    /// that.
    std::string reportedStatus();
    void quit() { process_.end(); }

private:
    class Bus;

    TemporaryDirectory directory_;
    const std::unique_ptr<Bus> bus_;
    ChildProcess process_;
};

} // namespace sonvale::tests
