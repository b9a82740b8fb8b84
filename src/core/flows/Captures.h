#pragma once

#include "audio/AudioRecorder.h"
#include "core/flows/RecordingFile.h"

#include <memory>
#include <optional>

namespace sonvale::core {

/// One recording. The end of a recording keeps a reference to it: after a cancel, the next recording can
/// begin while the service still works on the last one.
struct Recording {
    bool isLocalOnly = false;   ///< whether part of it was spoken in local-only mode
    bool isSpeechHeard = false; ///< since the recording, or its present piece, began
    bool isPieceLost = false;   ///< whether the service gave no text for a piece in the open file
    /// The file of the last utterance, if the next one began in it.
    std::optional<RecordingFile> overlappingSegment;
    /// The file, if the recorder was closed before the end of the recording reached it.
    std::optional<RecordingFile> closedFile;
};

/// The recordings that the microphone makes, and their files. Main actor.
class Captures {
public:
    /// Lowest loudness (RMS) at which a recording may contain speech. It is far below the detector's
    /// thresholds, so that no words are lost with a microphone of a low level.
    static constexpr float minSpeechLevel = 0.002F;

    /// The random source must outlive it.
    Captures(std::shared_ptr<audio::AudioRecorder> recorder, platform::SecureRandom& random);

    /// Returns the newest recording; never null.
    const std::shared_ptr<Recording>& newest() const { return newest_; }
    bool isNewest(const Recording& recording) const { return &recording == newest_.get(); }

    /// Starts the microphone for a new recording. Throws the errors of `AudioRecorder::startRecording`; then
    /// no capture runs.
    void begin(bool isLocalOnly);

    /// Returns whether the microphone captures. The recorder stops by itself after its maximum duration and
    /// when its input disappears.
    bool isCapturing() const;

    /// Records the present loudness of the newest recording.
    void noteLevel(float level);
    /// Ignores earlier speech. The present level counts as new speech too.
    void forgetSpeech();

    /// Stops the microphone of a recording whose end still waits for the service, and keeps the file for that
    /// end.
    void closePrevious();

    /// Stops the capture, unless a later recording uses it, and returns the recording's file.
    std::optional<RecordingFile> end(Recording& recording);
    /// Works as `end`, but deletes the file.
    void discard(Recording& recording) { end(recording).reset(); }

    /// Stops the capture at once and deletes its file, if there is one.
    void abort();

    /// Closes the file of the newest recording and returns it. The capture continues.
    std::optional<RecordingFile> closeSegment();

private:
    std::optional<RecordingFile> own(std::optional<std::filesystem::path> path) const;

    std::shared_ptr<audio::AudioRecorder> recorder_;
    platform::SecureRandom& random_;
    std::shared_ptr<Recording> newest_ = std::make_shared<Recording>();
    base::Subscription levels_;
};

} // namespace sonvale::core
