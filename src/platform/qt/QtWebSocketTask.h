#pragma once

#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"
#include "platform/qt/SessionHandle.h"

#include <memory>

namespace sonvale::platform::qt {

/// A socket of a session on Qt's network thread. It keeps its session. Messages that come in may have 16 MiB;
/// larger ones, and 64 MiB that nobody receives, end it with `networkConnectionLost`.
class QtWebSocketTask final : public WebSocketTask {
public:
    QtWebSocketTask(std::shared_ptr<SessionHandle> session, UrlRequest request);
    ~QtWebSocketTask() override;

    void resume() override;
    runtime::Task<> send(WebSocketMessage message) override;
    runtime::Task<WebSocketMessage> receive() override;
    void cancel(int closeCode) override;

private:
    const std::shared_ptr<SessionHandle> session_;
    const NetworkId id_;
};

} // namespace sonvale::platform::qt
