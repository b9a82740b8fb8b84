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

    /// `observer` is called on the main actor for every change of state that a player reports, in the order
    /// of the reports: true when that player plays now, false for any other state and for a player that
    /// leaves while it plays. What played before the first report is not told of. Set once; called until the
    /// object goes.
    virtual void setOnPlaybackChange(std::function<void(bool isPlaying)> observer) = 0;

    /// Sends one command that pauses a player that plays and lets a paused one play, to the player that
    /// reported last. Returns at once, within a few milliseconds; nothing happens when there is no player.
    virtual void togglePlayPause() = 0;
};

} // namespace sonvale::platform
