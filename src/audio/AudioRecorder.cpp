#include "audio/AudioRecorder.h"

#include "audio/AudioRecorderError.h"
#include "audio/Level.h"
#include "base/Uuid.h"
#include "persistence/SecureDeletion.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace sonvale::audio {

namespace {

constexpr std::size_t tapBufferFrames = 1024;

void close(platform::AudioFileWriter& file) {
    try {
        file.close();
    } catch (const platform::AudioFileError&) {
        // A recording without some buffers is still worth transcribing. If it cannot be read, the
        // transcription fails.
        return;
    }
}

} // namespace

/// The state that the tap block uses on the capture thread. Each lock is held for one short step, and never
/// both at once.
struct AudioRecorder::Capture {
    std::mutex audioFileLock;
    std::shared_ptr<platform::AudioFileWriter> audioFile; ///< guarded by `audioFileLock`

    std::mutex pcmBuffersLock;
    std::vector<platform::PcmBufferPtr> pcmBuffers; ///< guarded by `pcmBuffersLock`

    /// Read without a lock on the capture thread.
    std::atomic<const BufferConsumer*> onBuffer = nullptr;
    /// Main actor. All consumers since the capture began, because the tap block may still be inside a
    /// previous one.
    std::vector<std::unique_ptr<const BufferConsumer>> consumers;

    std::shared_ptr<platform::AudioFileWriter> exchangeFile(std::shared_ptr<platform::AudioFileWriter> file) {
        const std::lock_guard lock(audioFileLock);
        return std::exchange(audioFile, std::move(file));
    }

    std::vector<platform::PcmBufferPtr> takeBuffers() {
        const std::lock_guard lock(pcmBuffersLock);
        return std::exchange(pcmBuffers, {});
    }
};

AudioRecorder::AudioRecorder(runtime::Actor main, runtime::Clock& clock, platform::AudioEngines& engines,
                             platform::AudioFiles& files, platform::SecureRandom& random,
                             std::filesystem::path temporaryDirectory, persistence::AuditLogger& auditLogger)
    : main_(std::move(main))
    , clock_(clock)
    , engines_(engines)
    , files_(files)
    , random_(random)
    , temporaryDirectory_(std::move(temporaryDirectory))
    , auditLogger_(auditLogger)
    , capture_(std::make_shared<Capture>()) {}

AudioRecorder::~AudioRecorder() {
    // The engine is destroyed first. After that no tap block runs.
    audioEngine_.reset();
    closeFile();
    wipeBuffers();
}

void AudioRecorder::startRecording() {
    main_.assertCurrent();
    if (audioEngine_)
        forceStop();

    auto engine = engines_.makeEngine();
    if (engine->inputFormat().channelCount == 0)
        throw AudioRecorderError(AudioRecorderError::Case::noInputAvailable);

    const auto url = makeRecordingURL();
    const std::shared_ptr<platform::AudioFileWriter> file = files_.create(url, engine->outputFormat());

    capture_->takeBuffers();
    capture_->exchangeFile(file);

    engine->installTap(tapBufferFrames, makeTapBlock());

    try {
        engine->start();
    } catch (...) {
        engine.reset();
        abandonStart(url, file);
        throw;
    }

    audioEngine_ = std::move(engine);
    audioFile_ = file;
    recordingURL_ = url;
    recordingStartTime_ = clock_.now();
    isRecording = true;

    // This task is never cancelled: it also stops a later recording that runs when its time has passed.
    tasks_.setOwner(weak_from_this());
    tasks_.later<AudioRecorder>(*this, maxRecordingDuration, [](AudioRecorder& self) {
        if (self.isRecording.get())
            self.stopRecording();
    });
}

platform::AudioEngine::TapBlock AudioRecorder::makeTapBlock() {
    return [weakCapture = std::weak_ptr(capture_), weakSelf = weak_from_this(),
            main = main_](const platform::PcmBufferPtr& buffer) {
        const auto capture = weakCapture.lock();
        if (!capture)
            return;

        {
            const std::lock_guard lock(capture->audioFileLock);
            if (capture->audioFile)
                capture->audioFile->write(buffer);
        }

        if (const auto* consumer = capture->onBuffer.load())
            (*consumer)(buffer);

        // The level is computed before the buffer is in the list, from which the main actor may overwrite it.
        const float bufferLevel = level(*buffer);

        {
            const std::lock_guard lock(capture->pcmBuffersLock);
            capture->pcmBuffers.push_back(buffer);
        }

        main.post([weakSelf, bufferLevel] {
            // The capture may have stopped in the meantime; then the level must stay 0.
            if (const auto self = weakSelf.lock(); self && self->audioEngine_)
                self->audioLevel = bufferLevel;
        });
    };
}

void AudioRecorder::drain() {
    main_.assertCurrent();
    if (audioEngine_)
        audioEngine_->drain();
}

std::optional<std::filesystem::path> AudioRecorder::stopRecording(Tail tail) {
    main_.assertCurrent();
    if (!audioEngine_)
        return std::nullopt;

    if (tail == Tail::keep)
        drain();
    endCapture();
    reportStop();
    return recordingURL_;
}

std::optional<std::filesystem::path> AudioRecorder::forceStop() {
    main_.assertCurrent();
    if (audioEngine_)
        endCapture();
    recordingStartTime_.reset();
    return std::exchange(recordingURL_, std::nullopt);
}

void AudioRecorder::cleanupRecording() {
    main_.assertCurrent();
    // An open file reads the buffers until it is closed.
    closeFile();
    if (recordingURL_)
        deleteRecording(*recordingURL_);
    recordingURL_.reset();

    wipeBuffers();

    audioLevel = 0;
    setOnBuffer({});
}

void AudioRecorder::cleanupRecording(const std::filesystem::path& file) {
    main_.assertCurrent();
    if (recordingURL_ == file)
        cleanupRecording();
    else
        deleteRecording(file);
}

std::optional<std::filesystem::path> AudioRecorder::closeSegment() {
    main_.assertCurrent();
    if (!isRecording.get())
        return std::nullopt;

    closeFile();
    isRecording = false;
    reportStop();
    return std::exchange(recordingURL_, std::nullopt);
}

void AudioRecorder::openSegment() {
    main_.assertCurrent();
    if (!audioEngine_ || !audioEngine_->isRunning())
        throw AudioRecorderError(AudioRecorderError::Case::noInputAvailable);

    auto url = makeRecordingURL();
    std::shared_ptr<platform::AudioFileWriter> file = files_.create(url, audioEngine_->outputFormat());

    capture_->takeBuffers();
    capture_->exchangeFile(file);

    audioFile_ = std::move(file);
    recordingURL_ = std::move(url);
    recordingStartTime_ = clock_.now();
    isRecording = true;
}

void AudioRecorder::setOnBuffer(BufferConsumer consumer) {
    main_.assertCurrent();
    auto current = consumer ? std::make_unique<const BufferConsumer>(std::move(consumer)) : nullptr;
    capture_->onBuffer = current.get();
    if (!audioEngine_)
        capture_->consumers.clear();
    if (current)
        capture_->consumers.push_back(std::move(current));
}

AudioRecorder::BufferConsumer AudioRecorder::onBuffer() const {
    main_.assertCurrent();
    const auto* consumer = capture_->onBuffer.load();
    return consumer ? *consumer : BufferConsumer();
}

std::filesystem::path AudioRecorder::makeRecordingURL() const {
    return temporaryDirectory_ / ("sonvale_" + base::Uuid::make().toString() + ".m4a");
}

void AudioRecorder::endCapture() {
    audioEngine_->removeTap();
    audioEngine_->stop();

    closeFile();
    const auto engine = std::exchange(audioEngine_, nullptr);
    isRecording = false;
    audioLevel = 0;

    capture_->onBuffer = nullptr;
    capture_->consumers.clear();
}

void AudioRecorder::closeFile() {
    capture_->exchangeFile(nullptr);
    if (const auto file = std::exchange(audioFile_, nullptr))
        close(*file);
}

void AudioRecorder::reportStop() {
    if (recordingStartTime_)
        auditLogger_.logRecordingStopped(clock_.now() - *recordingStartTime_);
    recordingStartTime_.reset();
}

void AudioRecorder::abandonStart(const std::filesystem::path& url,
                                 const std::shared_ptr<platform::AudioFileWriter>& file) {
    capture_->exchangeFile(nullptr);
    close(*file);
    deleteRecording(url);
    wipeBuffers();
}

void AudioRecorder::deleteRecording(const std::filesystem::path& url) {
    try {
        persistence::secureDelete(url, random_);
    } catch (const std::exception&) {
        // A failure of the disk must neither delay the text nor replace the reason of a failed start. Stray
        // recordings are removed later.
        return;
    }
}

void AudioRecorder::wipeBuffers() {
    // The buffers are removed from the list first: overwriting ten minutes of audio under the lock would
    // block the capture thread.
    for (const auto& buffer : capture_->takeBuffers())
        buffer->wipe();
}

} // namespace sonvale::audio
