#pragma once

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

namespace sonvale::persistence {

/// Brings files to the disk on a thread of its own, so that the thread that wrote them need not wait.
/// `request()` from any thread.
class DiskSynchronizer {
public:
    /// Brings one file to the disk, which need not exist yet.
    explicit DiskSynchronizer(std::filesystem::path file);
    /// `synchronize` is called on the synchronizer's thread, once for all requests that came before the call.
    explicit DiskSynchronizer(std::function<void()> synchronize);
    /// Finishes what was requested.
    ~DiskSynchronizer();
    DiskSynchronizer(const DiskSynchronizer&) = delete;
    DiskSynchronizer& operator=(const DiskSynchronizer&) = delete;

    /// Brings what was written before this call to the disk soon; requests that come meanwhile are served
    /// together. A failure is not reported: the system writes files out by itself a little later.
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
