#include "adapters/ffmpeg/AacFileWriter.h"

#include "adapters/ffmpeg/AacEncoder.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr std::chrono::seconds closingLimit{10};

} // namespace

/// Outlives the writer when a disk hangs and the thread has to be left behind.
struct AacFileWriter::Work {
    Work(const std::filesystem::path& path, const platform::AudioFormat& format)
        : encoder(std::make_unique<AacEncoder>(path, format)) {}

    std::unique_ptr<AacEncoder> encoder; ///< the thread's own after the start
    std::atomic<bool> isAbandoned = false;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<platform::PcmBufferPtr> buffers; ///< guarded by `mutex`, as all below
    bool isClosing = false;
    bool isDone = false;
    std::exception_ptr error;
};

AacFileWriter::AacFileWriter(const std::filesystem::path& path, const platform::AudioFormat& format)
    : work_(std::make_shared<Work>(path, format))
    , thread_([work = work_] { run(work); }) {}

AacFileWriter::~AacFileWriter() {
    try {
        close();
    } catch (const platform::AudioFileError&) {
        // Whoever needs the file closes it and is told; a recording that is thrown away may be incomplete.
    }
}

void AacFileWriter::write(platform::PcmBufferPtr buffer) {
    {
        const std::lock_guard lock(work_->mutex);
        if (work_->isClosing)
            return;
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
    // A buffer that cannot be taken is lost; those after it are not, nor is the file.
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

    for (;;) {
        std::deque<platform::PcmBufferPtr> batch;
        {
            std::unique_lock lock(work->mutex);
            work->changed.wait(lock, [&] { return work->isClosing || !work->buffers.empty(); });
            batch.swap(work->buffers);
        }
        if (batch.empty())
            break;
        for (const auto& buffer : batch)
            attempt([&] { work->encoder->encode(*buffer); });
    }
    attempt([&] { work->encoder->finish(); });
    work->encoder.reset();

    const std::lock_guard lock(work->mutex);
    work->error = error;
    work->isDone = true;
    work->changed.notify_all();
}

} // namespace sonvale::adapters::ffmpeg
