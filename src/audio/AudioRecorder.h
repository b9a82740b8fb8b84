#pragma once

#include "base/Observed.h"
#include "persistence/AuditLogger.h"
#include "platform/AudioEngine.h"
#include "platform/AudioFile.h"
#include "platform/SecureRandom.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace sonvale::audio {

/// Captures the default input. Every buffer goes to a temporary compressed file, to the live consumer, and
/// into a list that exists only so that the samples can be overwritten afterwards.
///
/// Lives on the main actor, held by a shared pointer: every operation is called there and the observed fields
/// change there. Nothing here suspends, so that no other event slips in between the beginning of an operation
/// and its end.
///
/// Idle: no engine, not recording. Recording: an engine and an open file. Between segments: an engine and no
/// file. When the input goes in the middle of a recording, the recording stays until it is stopped and yields
/// what was captured.
class AudioRecorder : public std::enable_shared_from_this<AudioRecorder> {
public:
    /// Called on the capture thread with each buffer; it must not wait. The samples must not be used any more
    /// once the recording has been cleaned up: they are then overwritten.
    using BufferConsumer = std::function<void(const platform::PcmBufferPtr&)>;

    /// What a stop does about the sounds that the input has not handed out yet.
    enum class Tail { keep, drop };

    /// Seconds after its start at which whatever is being recorded is stopped.
    static constexpr double maxRecordingDuration = 600.0;

    /// Recordings are made in `temporaryDirectory`, which exists. What is referred to outlives the recorder.
    AudioRecorder(runtime::Actor main, runtime::Clock& clock, platform::AudioEngines& engines,
                  platform::AudioFiles& files, platform::SecureRandom& random,
                  std::filesystem::path temporaryDirectory, persistence::AuditLogger& auditLogger);
    /// Ends the capture and closes the file, which stays on disk; the samples in memory are overwritten.
    ~AudioRecorder();
    AudioRecorder(const AudioRecorder&) = delete;
    AudioRecorder& operator=(const AudioRecorder&) = delete;

    base::Observed<float> audioLevel{0};     ///< of the last buffer (`level()`); 0 without a capture
    base::Observed<bool> isRecording{false}; ///< a file is being written

    /// Starts the capture and a new file; a capture that runs is forced to stop first. Blocks for some
    /// milliseconds, 4 s at most when the sound server hangs. Throws `AudioRecorderError`,
    /// `platform::AudioFileError` or `platform::AudioEngineError`; nothing observable has changed then and no
    /// file is left.
    void startRecording();

    /// Delivers everything that was spoken before this call to the file and the consumer; the recording goes
    /// on. Blocks for as long as the input says that it holds something, 60 ms at most. Does nothing if
    /// no capture exists.
    void drain();

    /// Stops the capture, closes the file and returns it; it stays until `cleanupRecording()`. Returns
    /// nullopt if no capture exists, or between segments. With `Tail::keep`, what was spoken before the call
    /// is in the file: it drains first. `Tail::drop` is for a file that will not be read. Blocks while the
    /// file is finished.
    std::optional<std::filesystem::path> stopRecording(Tail tail = Tail::keep);

    /// Stops the capture and forgets the recording. Its file stays on disk and is returned, now the caller's
    /// to delete; nothing when there was none.
    std::optional<std::filesystem::path> forceStop();

    /// Deletes the recording so that it cannot be read back, and overwrites the retained samples. For the
    /// time after a stop.
    void cleanupRecording();

    /// As `cleanupRecording()`, for the recording that a stop returned as `file`: one that has begun since is
    /// left alone.
    void cleanupRecording(const std::filesystem::path& file);

    /// Closes the present file and returns it, now the caller's to delete; the capture goes on, and so does
    /// the consumer. Nothing when not recording.
    std::optional<std::filesystem::path> closeSegment();

    /// Opens a new file on the running capture. Throws `AudioRecorderError` when none runs, or
    /// `platform::AudioFileError`.
    void openSegment();

    /// Sets the live consumer, or none. Its end with the capture or a clean-up is the recorder's doing.
    void setOnBuffer(BufferConsumer consumer);
    /// Empty when there is none.
    BufferConsumer onBuffer() const;

    /// The engine of the running capture; null when idle. Valid until the capture is stopped.
    platform::AudioEngine* audioEngine() const { return audioEngine_.get(); }

private:
    struct Capture;

    platform::AudioEngine::TapBlock makeTapBlock();
    std::filesystem::path makeRecordingURL() const;
    void endCapture();
    void closeFile();
    void reportStop();
    void abandonStart(const std::filesystem::path& url,
                      const std::shared_ptr<platform::AudioFileWriter>& file);
    void deleteRecording(const std::filesystem::path& url);
    void wipeBuffers();
    static runtime::Task<> watchDuration(std::weak_ptr<AudioRecorder> weakSelf, runtime::Clock* clock);

    runtime::Actor main_;
    runtime::Clock& clock_;
    platform::AudioEngines& engines_;
    platform::AudioFiles& files_;
    platform::SecureRandom& random_;
    std::filesystem::path temporaryDirectory_;
    persistence::AuditLogger& auditLogger_;

    std::shared_ptr<Capture> capture_; ///< what the capture thread reaches
    std::unique_ptr<platform::AudioEngine> audioEngine_;
    std::shared_ptr<platform::AudioFileWriter> audioFile_;
    std::optional<std::filesystem::path> recordingURL_;
    std::optional<double> recordingStartTime_; ///< on the clock that never goes back
};

} // namespace sonvale::audio
