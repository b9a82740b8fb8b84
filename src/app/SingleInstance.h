#pragma once

#include <QSocketNotifier>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace sonvale::app {

/// Ensures one program per user and session, because two listeners on the same keys would insert every text
/// twice. A second start shows the running program. Main thread.
class SingleInstance {
public:
    /// Tries to become the one instance. The lock is in `directory` and is released with the process, also if
    /// it is killed.
    SingleInstance(const std::filesystem::path& directory, const std::string& session);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Returns false if another instance runs. Returns true also if no lock can be made, because that must
    /// not prevent the user from working.
    bool isFirst() const { return isFirst_; }

    /// For the first instance: calls `onReopen` from the event loop when another instance is started.
    void listen(std::function<void()> onReopen);

    /// For another instance: notifies the first one. Returns false if it does not listen.
    bool notifyFirst() const;

private:
    std::filesystem::path socketPath_;
    int lock_ = -1;
    int socket_ = -1;
    bool isFirst_ = true;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace sonvale::app
