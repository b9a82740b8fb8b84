#pragma once

#include "platform/MediaPlayers.h"

#include <memory>

namespace sonvale::audio {

/// Keeps music from talking over a dictation: knows whether a player plays and pauses it. Main actor; the
/// players must outlive it.
///
/// What a player did before its first report is not known, and the report that came last decides for all
/// players together.
class SystemAudioController {
public:
    explicit SystemAudioController(platform::MediaPlayers& players);
    SystemAudioController(const SystemAudioController&) = delete;
    SystemAudioController& operator=(const SystemAudioController&) = delete;

    bool didPauseMedia = false; ///< this program paused the player and owes it the resume
    bool isMediaCurrentlyPlaying() const { return *isPlaying_; }

    /// Sends the one command that both pauses and resumes.
    void togglePlayPause();

private:
    platform::MediaPlayers& players_;
    const std::shared_ptr<bool> isPlaying_ = std::make_shared<bool>(false); ///< shared with the observer
};

} // namespace sonvale::audio
