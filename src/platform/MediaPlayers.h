#pragma once

#include <functional>

namespace sonvale::platform {

/// The media players of the desktop. Main actor.
class MediaPlayers {
public:
    MediaPlayers() = default;
    MediaPlayers(const MediaPlayers&) = delete;
    MediaPlayers& operator=(const MediaPlayers&) = delete;
    virtual ~MediaPlayers() = default;

    /// Sets the observer. It is called on the main actor for every change of state that a player reports, in
    /// the order of the reports: with true if that player now plays, with false for any other state and if a
    /// playing player quits. What played before the first report is not reported. Set once; called until this
    /// object is destroyed.
    virtual void setOnPlaybackChange(std::function<void(bool isPlaying)> observer) = 0;

    /// Sends one command to the player that reported last: it pauses a playing player and resumes a paused
    /// one. Returns within a few milliseconds, without waiting for the player. Does nothing if there is no
    /// player.
    virtual void togglePlayPause() = 0;
};

} // namespace sonvale::platform
