#pragma once

#include "audio/SystemAudioController.h"
#include "persistence/Settings.h"

namespace sonvale::core {

/// Pauses the music for a dictation, if the user wants that, and resumes it afterwards. Main actor.
class MediaPause {
public:
    /// What is referred to must outlive it.
    MediaPause(audio::SystemAudioController& controller, const persistence::Settings& settings);

    /// Pauses a player that plays.
    void begin();
    /// Resumes what `begin` paused. Does nothing a second time.
    void end();

private:
    audio::SystemAudioController& controller_;
    const persistence::Settings& settings_;
};

} // namespace sonvale::core
