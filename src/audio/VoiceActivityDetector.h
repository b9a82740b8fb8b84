#pragma once

#include "base/Observed.h"
#include "runtime/Clock.h"

#include <functional>
#include <optional>
#include <utility>

namespace sonvale::audio {

/// Detects pauses of the speaker by loudness: a level above one threshold is speech, a level below a lower
/// one is silence, and a level between the two is neither.
///
/// Main actor; the clock must outlive it.
class VoiceActivityDetector {
public:
    static constexpr float speechThreshold = 0.015F;
    static constexpr float silenceThreshold = 0.008F;
    static constexpr double defaultEndOfUtteranceDelay = 1.5;

    explicit VoiceActivityDetector(runtime::Clock& clock)
        : clock_(clock) {}
    VoiceActivityDetector(const VoiceActivityDetector&) = delete;
    VoiceActivityDetector& operator=(const VoiceActivityDetector&) = delete;

    base::Observed<bool> isSpeaking{false};    ///< whether speech was heard since the last utterance ended
    base::Observed<double> silenceDuration{0}; ///< seconds from the last speech to the last silent level
    double endOfUtteranceDelay = defaultEndOfUtteranceDelay; ///< seconds of silence that end an utterance

    /// Called once for each utterance, inside `process`.
    std::function<void()> onEndOfUtterance;

    void start();
    void stop();

    /// Forgets the current utterance. Does nothing if it is not running.
    void resetForNextUtterance();

    /// Processes the loudness of this moment. Does nothing if it is not running.
    void process(float level);

private:
    void clearUtterance();

    runtime::Clock& clock_;
    bool isActive_ = false;
    std::optional<double> lastSpeechTime_; ///< in time of the clock's `now()`
};

} // namespace sonvale::audio
