#pragma once

#include "tests/support/ChildProcess.h"

#include <QDBusConnection>
#include <QString>
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
    void quit() { process_.end(); }

private:
    TemporaryDirectory directory_;
    const QString connectionName_;
    QDBusConnection bus_;
    ChildProcess process_;
};

} // namespace sonvale::tests
