#pragma once

#include "platform/MediaPlayers.h"

#include <memory>

namespace sonvale::audio {

/// Pauses music during a dictation: knows whether a player plays and pauses it. Main actor; the players must
/// outlive it.
///
/// The state of a player before its first report is unknown. The last report counts for all players together.
class SystemAudioController {
public:
    explicit SystemAudioController(platform::MediaPlayers& players);
    SystemAudioController(const SystemAudioController&) = delete;
    SystemAudioController& operator=(const SystemAudioController&) = delete;

    bool didPauseMedia = false; ///< whether this program paused the player and must resume it
    bool isMediaCurrentlyPlaying() const { return *isPlaying_; }

    /// Sends the one command that pauses and resumes.
    void togglePlayPause();

private:
    platform::MediaPlayers& players_;
    const std::shared_ptr<bool> isPlaying_ = std::make_shared<bool>(false); ///< shared with the observer
};

} // namespace sonvale::audio
