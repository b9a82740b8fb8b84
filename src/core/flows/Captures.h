#pragma once

#include "audio/AudioRecorder.h"
#include "core/flows/RecordingFile.h"

#include <memory>
#include <optional>

namespace sonvale::core {

/// One recording. The end of a recording keeps a reference to it: after a cancel, the next recording can
/// begin while the service still works on the last one.
struct Recording {
    bool isLocalOnly = false;   ///< some of it was spoken in local-only mode
    bool isSpeechHeard = false; ///< since it, or its present piece, began
    bool isPieceLost = false;   ///< the service gave no text for a piece that the open file holds
    /// The file of the last utterance, if the next one began in it.
    std::optional<RecordingFile> overlappingSegment;
    /// The file, if the recorder was closed before the recording's end came to it.
    std::optional<RecordingFile> closedFile;
};

/// The recordings that the microphone makes, and their files. Main actor.
class Captures {
public:
    /// Lowest loudness (RMS) at which a recording may hold speech. It is far below the detector's own
    /// thresholds, so that a microphone with a low level costs no words.
    static constexpr float minSpeechLevel = 0.002F;

    /// The random source must outlive it.
    Captures(std::shared_ptr<audio::AudioRecorder> recorder, platform::SecureRandom& random);

    /// Returns the newest recording; never null.
    const std::shared_ptr<Recording>& newest() const { return newest_; }
    bool isNewest(const Recording& recording) const { return &recording == newest_.get(); }

    /// Starts the microphone for a new recording. Throws as `AudioRecorder::startRecording`; no capture runs
    /// then.
    void begin(bool isLocalOnly);

    /// Whether the microphone captures. The recorder stops by itself after its maximum duration, and when
    /// its input disappears.
    bool isCapturing() const;

    /// Takes the loudness of the newest recording at this moment.
    void noteLevel(float level);
    /// Counts only speech from now on. The level of this moment is new speech too.
    void forgetSpeech();

    /// Stops the microphone of a recording whose end still waits for the service. That end finds the file.
    void closePrevious();

    /// Stops the capture, unless a later recording has it, and returns the recording's file.
    std::optional<RecordingFile> end(Recording& recording);
    /// As `end`, but deletes the file.
    void discard(Recording& recording) { end(recording).reset(); }

    /// Stops the capture at once and deletes its file, if there is one.
    void abort();

    /// Closes the file of the newest recording and returns it; the capture goes on.
    std::optional<RecordingFile> closeSegment();

private:
    std::optional<RecordingFile> own(std::optional<std::filesystem::path> path) const;

    std::shared_ptr<audio::AudioRecorder> recorder_;
    platform::SecureRandom& random_;
    std::shared_ptr<Recording> newest_ = std::make_shared<Recording>();
    base::Subscription levels_;
};

} // namespace sonvale::core
