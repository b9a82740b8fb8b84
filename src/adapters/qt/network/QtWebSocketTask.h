#pragma once

#include "adapters/qt/network/SessionHandle.h"

#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"

#include <memory>

namespace sonvale::adapters::qt {

/// A socket of a session on Qt's network thread. Keeps its session alive. A received message may have up to
/// 16 MiB. A larger one, or 64 MiB that are not received by the caller, end the socket with
/// `networkConnectionLost`.
class QtWebSocketTask final : public platform::WebSocketTask {
public:
    QtWebSocketTask(std::shared_ptr<SessionHandle> session, platform::UrlRequest request);
    ~QtWebSocketTask() override;

    void resume() override;
    runtime::Task<> send(platform::WebSocketMessage message) override;
    runtime::Task<platform::WebSocketMessage> receive() override;
    void cancel(int closeCode) override;

private:
    const std::shared_ptr<SessionHandle> session_;
    const NetworkId id_;
};

} // namespace sonvale::adapters::qt
