#pragma once

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

namespace sonvale::persistence {

/// Flushes files to the disk on a thread of its own, so that the thread that wrote them does not wait.
/// `request()` from any thread.
class DiskSynchronizer {
public:
    /// Flushes one file, which may not exist yet.
    explicit DiskSynchronizer(std::filesystem::path file);
    /// Calls `synchronize` on the synchronizer's thread, once for all requests before the call.
    explicit DiskSynchronizer(std::function<void()> synchronize);
    /// Finishes all requests.
    ~DiskSynchronizer();
    DiskSynchronizer(const DiskSynchronizer&) = delete;
    DiskSynchronizer& operator=(const DiskSynchronizer&) = delete;

    /// Requests that everything written before this call is flushed soon. Several waiting requests cause one
    /// flush. Failures are not reported: the system flushes files by itself a little later.
    void request();

private:
    void run();

    const std::function<void()> synchronize_;
    std::mutex mutex_; ///< guards the two flags
    std::condition_variable wake_;
    bool isRequested_ = false;
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace sonvale::persistence
