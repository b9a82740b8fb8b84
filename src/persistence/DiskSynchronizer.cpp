#include "persistence/DiskSynchronizer.h"

#include "persistence/FileDescriptor.h"

#include <utility>

namespace sonvale::persistence {

DiskSynchronizer::DiskSynchronizer(std::filesystem::path file)
    : file_(std::move(file))
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
        if (const FileDescriptor descriptor(file_, O_RDONLY); descriptor)
            descriptor.synchronize(); // NOLINT(bugprone-unused-return-value): the next save tries again
        lock.lock();
    }
}

} // namespace sonvale::persistence
