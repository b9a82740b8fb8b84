#pragma once

#include "platform/PathMonitor.h"

#include <QThread>
#include <memory>

namespace sonvale::adapters::qt {

/// The state of the link as NetworkManager reports it (`NetworkManagerLink`), or as the interfaces show it if
/// no NetworkManager answers within 2 s after the start. Qt's own network information is not used: which
/// thread it belongs to depends on the version, and it blocks while it waits for NetworkManager.
///
/// Reports are called on a thread of its own, "connectivity".
class QtPathMonitor final : public platform::PathMonitor {
public:
    QtPathMonitor() = default;
    ~QtPathMonitor() override;

    void start(std::function<void(const platform::NetworkPath&)> handler) override;
    /// Waits for a running handler.
    void cancel() override;

private:
    std::unique_ptr<QThread> thread_;
};

} // namespace sonvale::adapters::qt
