#include "core/flows/MediaPause.h"

#include "persistence/SettingsKeys.h"

#include <utility>

namespace sonvale::core {

MediaPause::MediaPause(audio::SystemAudioController& controller, const persistence::Settings& settings)
    : controller_(controller)
    , settings_(settings) {}

void MediaPause::begin() {
    if (!settings_.read(persistence::keys::pauseAudioDuringDictation) ||
        !controller_.isMediaCurrentlyPlaying())
        return;
    controller_.togglePlayPause();
    controller_.didPauseMedia = true;
}

void MediaPause::end() {
    if (std::exchange(controller_.didPauseMedia, false))
        controller_.togglePlayPause();
}

} // namespace sonvale::core
