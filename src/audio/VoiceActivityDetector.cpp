#include "audio/VoiceActivityDetector.h"

namespace sonvale::audio {

namespace {

/// Sums of times are not exact: a silence exactly as long as the delay is long enough.
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
    // The callback may set another one.
    if (const auto callback = onEndOfUtterance)
        callback();
}

void VoiceActivityDetector::clearUtterance() {
    isSpeaking = false;
    silenceDuration = 0;
    lastSpeechTime_.reset();
}

} // namespace sonvale::audio
