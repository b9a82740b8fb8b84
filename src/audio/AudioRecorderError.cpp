#include "audio/AudioRecorderError.h"

namespace sonvale::audio {

namespace {

const char* description(AudioRecorderError::Case which) {
    switch (which) {
    case AudioRecorderError::Case::noInputAvailable:
        return "No audio input device is available. Please connect a microphone and try again.";
    }
    return "";
}

} // namespace

AudioRecorderError::AudioRecorderError(Case which)
    : std::runtime_error(description(which))
    , which_(which) {}

} // namespace sonvale::audio
