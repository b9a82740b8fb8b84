#include "adapters/ffmpeg/AacFileWriter.h"

#include "adapters/ffmpeg/module/AacEncoder.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr std::chrono::seconds closingLimit{10};

} // namespace

/// Outlives the writer if a disk hangs and the thread must be left running.
struct AacFileWriter::Work {
    Work(const std::filesystem::path& path, const platform::AudioFormat& format)
        : encoder(std::make_unique<AacEncoder>(path, format)) {}

    std::unique_ptr<AacEncoder> encoder; ///< used only by the thread after the start
    std::atomic<bool> isAbandoned = false;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<platform::PcmBufferPtr> buffers; ///< guarded by `mutex`, like the fields below
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
        // A caller that needs the file closes it and gets the error. A recording that is dropped may be
        // incomplete.
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
