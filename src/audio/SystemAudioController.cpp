#include "audio/SystemAudioController.h"

namespace sonvale::audio {

SystemAudioController::SystemAudioController(platform::MediaPlayers& players)
    : players_(players) {
    players_.setOnPlaybackChange([weak = std::weak_ptr<bool>(isPlaying_)](bool isPlaying) {
        if (const auto state = weak.lock())
            *state = isPlaying;
    });
}

void SystemAudioController::togglePlayPause() {
    players_.togglePlayPause();
}

} // namespace sonvale::audio
