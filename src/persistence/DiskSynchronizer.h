#pragma once

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

namespace sonvale::persistence {

/// Brings a file to the disk on a thread of its own, so that who wrote it need not wait. `request()` from any
/// thread.
class DiskSynchronizer {
public:
    /// `file` need not exist yet.
    explicit DiskSynchronizer(std::filesystem::path file);
    /// Finishes what was requested.
    ~DiskSynchronizer();
    DiskSynchronizer(const DiskSynchronizer&) = delete;
    DiskSynchronizer& operator=(const DiskSynchronizer&) = delete;

    /// What was written to the file before this call is brought to the disk soon; requests that come
    /// meanwhile are served together. A failure is nobody's to mend: the system writes the file out by itself
    /// a little later.
    void request();

private:
    void run();

    const std::filesystem::path file_;
    std::mutex mutex_; ///< guards the two flags
    std::condition_variable wake_;
    bool isRequested_ = false;
    bool isEnding_ = false;
    std::thread thread_;
};

} // namespace sonvale::persistence
