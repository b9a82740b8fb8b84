#pragma once

#include "audio/SystemAudioController.h"
#include "persistence/Settings.h"

namespace sonvale::core {

/// Pauses the music for a dictation, if the user wants that, and resumes it afterwards. Main actor.
class MediaPause {
public:
    /// The referenced objects must outlive it.
    MediaPause(audio::SystemAudioController& controller, const persistence::Settings& settings);

    /// Pauses a player that plays.
    void begin();
    /// Resumes the player that `begin` paused. A second call does nothing.
    void end();

private:
    audio::SystemAudioController& controller_;
    const persistence::Settings& settings_;
};

} // namespace sonvale::core
