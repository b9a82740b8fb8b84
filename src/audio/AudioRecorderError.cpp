#include "audio/AudioRecorderError.h"

namespace sonvale::audio {

namespace {

const char* descriptionOf(AudioRecorderError::Case errorCase) {
    switch (errorCase) {
    case AudioRecorderError::Case::noInputAvailable:
        return "No audio input device is available. Please connect a microphone and try again.";
    }
    return "";
}

} // namespace

AudioRecorderError::AudioRecorderError(Case errorCase)
    : TypedError(errorCase, descriptionOf(errorCase)) {}

} // namespace sonvale::audio
