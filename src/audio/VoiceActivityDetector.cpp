#include "audio/VoiceActivityDetector.h"

namespace sonvale::audio {

namespace {

/// Sums of times are not exact: a silence of just the delay has lasted long enough.
constexpr double rounding = 1e-6;

} // namespace

void VoiceActivityDetector::start() {
    isActive_ = true;
    clearUtterance();
}

void VoiceActivityDetector::stop() {
    isActive_ = false;
    clearUtterance();
}

void VoiceActivityDetector::resetForNextUtterance() {
    if (isActive_)
        clearUtterance();
}

void VoiceActivityDetector::process(float level) {
    if (!isActive_)
        return;
    const double now = clock_.now();
    if (level > speechThreshold) {
        isSpeaking = true;
        lastSpeechTime_ = now;
        silenceDuration = 0;
        return;
    }
    const bool isSilent = level < silenceThreshold;
    if (!isSilent || !isSpeaking.get() || !lastSpeechTime_)
        return;
    silenceDuration = now - *lastSpeechTime_;
    if (silenceDuration.get() < endOfUtteranceDelay - rounding)
        return;
    clearUtterance();
    // Whoever is called may set another.
    if (const auto callback = onEndOfUtterance)
        callback();
}

void VoiceActivityDetector::clearUtterance() {
    isSpeaking = false;
    silenceDuration = 0;
    lastSpeechTime_.reset();
}

} // namespace sonvale::audio
