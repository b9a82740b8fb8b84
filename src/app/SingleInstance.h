#pragma once

#include <QSocketNotifier>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace sonvale::app {

/// Two listeners on the same keys would insert every text twice, so one user runs one program in one session.
/// Whoever starts it again is shown the one that runs. Main thread.
class SingleInstance {
public:
    /// Tries to become the one instance. The lock lives in `directory` and goes with the process, however it
    /// ends.
    SingleInstance(const std::filesystem::path& directory, const std::string& session);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// False when another instance runs. True as well when no lock can be made: that must not keep the user
    /// from working.
    bool isFirst() const { return isFirst_; }

    /// For the first instance: `onReopen` is called from the event loop whenever another one is started.
    void listen(std::function<void()> onReopen);

    /// For another instance: tells the first one. False when it does not listen.
    bool tellFirst() const;

private:
    std::filesystem::path socketPath_;
    int lock_ = -1;
    int socket_ = -1;
    bool isFirst_ = true;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace sonvale::app
