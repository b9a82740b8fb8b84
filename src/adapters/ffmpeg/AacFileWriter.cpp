#include "adapters/ffmpeg/AacFileWriter.h"

#include "adapters/ffmpeg/UsableFormat.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <utility>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr std::chrono::seconds closingLimit{10};

/// The audio that queues before the encoder is made. While a library is being loaded, no thread of the
/// process can create a thread, and the start of a dictation creates some.
constexpr double secondsBeforeEncoder = 0.5;

FileDescriptor createFile(const std::filesystem::path& path, const platform::AudioFormat& format) {
    requireUsable(format);
    return FileDescriptor::create(path);
}

} // namespace

/// Outlives the writer if a disk hangs and the thread must be left running.
struct AacFileWriter::Work {
    Work(const std::filesystem::path& path, const platform::AudioFormat& fileFormat, ModuleSource source)
        : file(createFile(path, fileFormat))
        , format(fileFormat)
        , module(std::move(source)) {}

    /// Waits for the audio that queues before the encoder is made, or for the end of a shorter recording.
    void waitForAudio() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] {
            return isClosing ||
                   static_cast<double>(framesWritten) >= secondsBeforeEncoder * format.sampleRate;
        });
    }

    /// Waits for buffers. Returns none at the end of the recording.
    std::deque<platform::PcmBufferPtr> takeBuffers() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isClosing || !buffers.empty(); });
        return std::exchange(buffers, {});
    }

    FileDescriptor file; ///< used only by the thread after the start, like `module`
    const platform::AudioFormat format;
    const ModuleSource module;
    std::atomic<bool> isAbandoned = false;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<platform::PcmBufferPtr> buffers; ///< guarded by `mutex`, like the fields below
    std::size_t framesWritten = 0;
    bool isClosing = false;
    bool isDone = false;
    std::exception_ptr error;
};

AacFileWriter::AacFileWriter(const std::filesystem::path& path, const platform::AudioFormat& format,
                             ModuleSource module)
    : work_(std::make_shared<Work>(path, format, std::move(module)))
    , thread_([work = work_] { run(work); }) {}

AacFileWriter::~AacFileWriter() {
    try {
        close();
    } catch (const platform::AudioFileError&) {
        // A caller that needs the file closes it and gets the error. A recording that is dropped may be
        // incomplete.
    }
}

void AacFileWriter::write(platform::PcmBufferPtr buffer) {
    {
        const std::lock_guard lock(work_->mutex);
        if (work_->isClosing)
            return;
        work_->framesWritten += buffer->frameLength();
        work_->buffers.push_back(std::move(buffer));
    }
    work_->changed.notify_all();
}

void AacFileWriter::close() {
    if (!thread_.joinable())
        return;
    {
        std::unique_lock lock(work_->mutex);
        work_->isClosing = true;
        work_->changed.notify_all();
        if (!work_->changed.wait_for(lock, closingLimit, [this] { return work_->isDone; })) {
            work_->isAbandoned = true;
            thread_.detach();
            throw platform::AudioFileError("The recording could not be written in time.");
        }
    }
    thread_.join();
    if (work_->error)
        std::rethrow_exception(work_->error);
}

void AacFileWriter::run(const std::shared_ptr<Work>& work) {
    std::exception_ptr error;
    // A buffer that cannot be written is lost. Later buffers and the file are not.
    const auto attempt = [&](const auto& step) {
        if (work->isAbandoned)
            return;
        std::exception_ptr failure;
        try {
            step();
        } catch (const platform::AudioFileError&) {
            failure = std::current_exception();
        } catch (const std::exception& other) {
            failure = std::make_exception_ptr(platform::AudioFileError(other.what()));
        }
        if (!error)
            error = failure;
    };

    work->waitForAudio();
    std::unique_ptr<RecordingEncoder> encoder; // stays null if it cannot be made; then all buffers are lost
    attempt([&] { encoder = work->module().makeEncoder(std::move(work->file), work->format); });
    for (;;) {
        // Freed before the wait for the next ones.
        const auto batch = work->takeBuffers();
        if (batch.empty())
            break;
        for (const auto& buffer : batch) {
            if (encoder)
                attempt([&] { encoder->encode(*buffer); });
        }
    }
    if (encoder)
        attempt([&] { encoder->finish(); });
    encoder.reset();

    const std::lock_guard lock(work->mutex);
    work->error = error;
    work->isDone = true;
    work->changed.notify_all();
}

} // namespace sonvale::adapters::ffmpeg
