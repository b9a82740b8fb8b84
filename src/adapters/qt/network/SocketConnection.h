#pragma once

#include "adapters/qt/network/ClosingSockets.h"
#include "adapters/qt/network/NetworkErrors.h"
#include "adapters/qt/network/TlsConfiguration.h"

#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"

#include <QAbstractSocket>
#include <QObject>
#include <QTimer>
#include <QWebSocket>
#include <deque>
#include <memory>
#include <optional>

namespace sonvale::adapters::qt {

/// One WebSocket on the network thread. Destroying it closes it as "going away".
class SocketConnection final : public QObject {
public:
    SocketConnection(TlsConfiguration& tls, platform::UrlRequest request, ClosingSockets& closing);
    ~SocketConnection() override;

    void open();
    void send(platform::WebSocketMessage message, runtime::Continuation<> sender);
    void receive(runtime::Continuation<platform::WebSocketMessage> receiver);
    void cancel(int closeCode);

private:
    struct Outgoing {
        platform::WebSocketMessage message;
        runtime::Continuation<> sender;
    };

    void watch();
    void ended(QAbstractSocket::SocketError error);
    void connected();
    void sendWaiting();
    bool hasWrittenAll() const;
    void arrived(platform::WebSocketMessage message);
    void fail(platform::UrlError::Code code);
    /// Ends the waiting calls with this error and returns the socket, which may be null.
    std::unique_ptr<QWebSocket> endWaits(platform::UrlError::Code code);

    TlsConfiguration& tls_;
    const platform::UrlRequest request_;
    ClosingSockets& closing_;
    std::unique_ptr<QWebSocket> socket_;
    QAbstractSocket* transport_ = nullptr; ///< the transport of `socket_`; null without one
    QTimer handshakeLimit_;
    TransferStage stage_ = TransferStage::connecting;
    CertificateCheck certificates_ = CertificateCheck::isFine;
    bool isOpen_ = false;
    std::optional<platform::UrlError::Code> failure_;

    std::deque<Outgoing> outgoing_;                  ///< not yet passed to Qt
    std::optional<runtime::Continuation<>> writing_; ///< the sender of the message that Qt is writing
    bool isSending_ = false;

    std::deque<platform::WebSocketMessage> incoming_;
    std::size_t incomingBytes_ = 0;
    std::optional<runtime::Continuation<platform::WebSocketMessage>> receiver_;
};

} // namespace sonvale::adapters::qt
