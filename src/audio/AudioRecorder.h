#pragma once

#include "base/Observed.h"
#include "persistence/AuditLogger.h"
#include "platform/AudioEngine.h"
#include "platform/AudioFile.h"
#include "platform/SecureRandom.h"
#include "runtime/OwnedTasks.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace sonvale::audio {

/// Captures the default input. Every buffer goes to a temporary compressed file, to the live consumer, and
/// into a list that exists only to overwrite the samples afterwards.
///
/// Lives on the main actor, owned by a shared pointer: all operations are called there and the observed
/// fields change there. No operation suspends, so no other event runs between its beginning and its end.
///
/// Idle: no engine, not recording. Recording: an engine and an open file. Between segments: an engine and no
/// file. If the input disappears during a recording, the recording continues until it is stopped and contains
/// what was captured.
class AudioRecorder : public std::enable_shared_from_this<AudioRecorder> {
public:
    /// Called on the capture thread with each buffer; it must not wait. It must not use the samples after the
    /// recording has been cleaned up, because they are overwritten.
    using BufferConsumer = std::function<void(const platform::PcmBufferPtr&)>;

    /// Whether a stop waits for samples that the input has not delivered yet.
    enum class Tail { keep, drop };

    /// Seconds after the start of a recording at which the current recording is stopped.
    static constexpr double maxRecordingDuration = 600.0;

    /// Recordings are made in `temporaryDirectory`, which must exist. The referenced objects outlive the
    /// recorder.
    AudioRecorder(runtime::Actor main, runtime::Clock& clock, platform::AudioEngines& engines,
                  platform::AudioFiles& files, platform::SecureRandom& random,
                  std::filesystem::path temporaryDirectory, persistence::AuditLogger& auditLogger);
    /// Stops the capture and closes the file, which stays on disk. Overwrites the samples in memory.
    ~AudioRecorder();
    AudioRecorder(const AudioRecorder&) = delete;
    AudioRecorder& operator=(const AudioRecorder&) = delete;

    base::Observed<float> audioLevel{0};     ///< of the last buffer (`level()`); 0 without a capture
    base::Observed<bool> isRecording{false}; ///< whether a file is being written

    /// Starts the capture and a new file. Stops a running capture first. Blocks for some milliseconds, up to
    /// 4 s if the sound server hangs. Throws `AudioRecorderError`, `platform::AudioFileError` or
    /// `platform::AudioEngineError`; then nothing observable has changed and no file is left.
    void startRecording();

    /// Delivers everything that was spoken before this call to the file and the consumer; the recording
    /// continues. Blocks while the input reports undelivered samples, up to 60 ms. Does nothing if no capture
    /// exists.
    void drain();

    /// Stops the capture, closes the file and returns it; it stays until `cleanupRecording()`. Returns
    /// nullopt if no capture exists, or between segments. With `Tail::keep` it drains first, so that the file
    /// contains everything spoken before the call. `Tail::drop` is for a file that will not be read. Blocks
    /// while the file is finished.
    std::optional<std::filesystem::path> stopRecording(Tail tail = Tail::keep);

    /// Stops the capture and forgets the recording. Returns its file, which stays on disk and which the
    /// caller must delete; nullopt if there was none.
    std::optional<std::filesystem::path> forceStop();

    /// Deletes the recording so that it cannot be restored, and overwrites the retained samples. Called after
    /// a stop.
    void cleanupRecording();

    /// Works as `cleanupRecording()` for the recording that a stop returned as `file`. Keeps a recording that
    /// has begun since.
    void cleanupRecording(const std::filesystem::path& file);

    /// Closes the current file and returns it; the caller must delete it. The capture and the consumer
    /// continue. Returns nullopt if not recording.
    std::optional<std::filesystem::path> closeSegment();

    /// Opens a new file for the running capture. Throws `AudioRecorderError` if none runs, or
    /// `platform::AudioFileError`.
    void openSegment();

    /// Sets the live consumer, or none. The recorder removes it at the end of the capture and at a clean-up.
    void setOnBuffer(BufferConsumer consumer);
    /// Returns the live consumer; empty if there is none.
    BufferConsumer onBuffer() const;

    /// Returns the engine of the running capture; null when idle. Valid until the capture is stopped.
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

    runtime::Actor main_;
    runtime::Clock& clock_;
    runtime::OwnedTasks tasks_{main_, clock_};
    platform::AudioEngines& engines_;
    platform::AudioFiles& files_;
    platform::SecureRandom& random_;
    std::filesystem::path temporaryDirectory_;
    persistence::AuditLogger& auditLogger_;

    std::shared_ptr<Capture> capture_; ///< the state of the capture thread
    std::unique_ptr<platform::AudioEngine> audioEngine_;
    std::shared_ptr<platform::AudioFileWriter> audioFile_;
    std::optional<std::filesystem::path> recordingURL_;
    std::optional<double> recordingStartTime_; ///< on the clock that never goes back
};

} // namespace sonvale::audio
