#include "persistence/DiskSynchronizer.h"

#include "persistence/FileDescriptor.h"

#include <utility>

namespace sonvale::persistence {

DiskSynchronizer::DiskSynchronizer(std::filesystem::path file)
    : DiskSynchronizer([file = std::move(file)] {
        if (const FileDescriptor descriptor(file, O_RDONLY); descriptor)
            descriptor.synchronize(); // NOLINT(bugprone-unused-return-value): the next save tries again
    }) {}

DiskSynchronizer::DiskSynchronizer(std::function<void()> synchronize)
    : synchronize_(std::move(synchronize))
    , thread_([this] { run(); }) {}

DiskSynchronizer::~DiskSynchronizer() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void DiskSynchronizer::request() {
    {
        const std::lock_guard lock(mutex_);
        isRequested_ = true;
    }
    wake_.notify_one();
}

void DiskSynchronizer::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return isRequested_ || isEnding_; });
        if (!std::exchange(isRequested_, false))
            return;
        lock.unlock();
        synchronize_();
        lock.lock();
    }
}

} // namespace sonvale::persistence
