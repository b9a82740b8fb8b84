#pragma once

#include "platform/PathMonitor.h"

#include <QThread>
#include <memory>

namespace sonvale::platform::qt {

/// The link as Qt's network information tells of it, which asks NetworkManager; where that does not
/// answer within 2 s when the monitor starts, as the interfaces show it.
///
/// Reports come on a thread of its own, "connectivity": Qt waits for NetworkManager's answers. Qt's network
/// information stays with the thread that first asked for it, so only the first monitor of a process has it.
class QtPathMonitor final : public PathMonitor {
public:
    QtPathMonitor() = default;
    ~QtPathMonitor() override;

    void start(std::function<void(const NetworkPath&)> handler) override;
    /// Waits for a handler that runs, and for an answer of NetworkManager that has not come yet.
    void cancel() override;

private:
    std::unique_ptr<QThread> thread_;
};

} // namespace sonvale::platform::qt
