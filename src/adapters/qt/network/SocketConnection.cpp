#include "adapters/qt/network/SocketConnection.h"

#include "adapters/qt/network/NetworkRequests.h"
#include "adapters/qt/network/SystemProxy.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <QSslError>
#include <QSslSocket>

namespace sonvale::adapters::qt {

namespace {

using Code = platform::UrlError::Code;

constexpr quint64 maxMessageBytes = 16UL << 20U;
/// For messages that the caller has not received yet.
constexpr std::size_t maxIncomingBytes = 64UL << 20U;

/// Time for which bytes, or a keep-alive probe, may stay without an acknowledgment. Linux itself waits for
/// about a quarter of an hour.
constexpr int peerTimeoutMilliseconds = 10'000;
/// Seconds without traffic until the system sends a probe, and between its probes.
constexpr int idleSeconds = 30;
constexpr int questionSeconds = 5;

/// Makes the system fail the connection if the server is lost without notice, after a change of the network
/// or a suspend. Without these options the connection works too.
void watchPeer(qintptr descriptor) {
    const auto set = [descriptor](int level, int option, int value) {
        setsockopt(static_cast<int>(descriptor), level, option, &value, sizeof value);
    };
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, peerTimeoutMilliseconds);
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, idleSeconds);
    set(IPPROTO_TCP, TCP_KEEPINTVL, questionSeconds);
}

} // namespace

SocketConnection::SocketConnection(TlsConfiguration& tls, platform::UrlRequest request,
                                   ClosingSockets& closing)
    : tls_(tls)
    , request_(std::move(request))
    , closing_(closing) {
    handshakeLimit_.setSingleShot(true);
    connect(&handshakeLimit_, &QTimer::timeout, this, [this] { fail(Code::timedOut); });
}

SocketConnection::~SocketConnection() {
    cancel(platform::WebSocketTask::goingAway);
}

void SocketConnection::open() {
    if (socket_ || failure_)
        return;
    const auto url = parseUrl(request_.url, QStringLiteral("ws"), QStringLiteral("wss"));
    if (!url || !areValidHeaders(request_.headers)) {
        fail(Code::badUrl);
        return;
    }

    socket_ = std::make_unique<QWebSocket>();
    if (isSecure(*url))
        socket_->setSslConfiguration(tls_.get());
    socket_->setProxy(SystemProxy::forSocket(*url));
    socket_->setMaxAllowedIncomingFrameSize(maxMessageBytes);
    socket_->setMaxAllowedIncomingMessageSize(maxMessageBytes);
    watch();
    handshakeLimit_.start(millisecondsOf(request_.timeoutSeconds));
    socket_->open(makeRequest(*url, request_.headers, tls_));

    transport_ = socket_ ? transportOf(*socket_) : nullptr;
    if (!transport_)
        return;
    auto* secure = qobject_cast<QSslSocket*>(transport_);
    connect(transport_, &QAbstractSocket::connected, this, [this, secure] {
        stage_ = secure ? TransferStage::securing : TransferStage::connected;
        // Options that are set before the connection exists have no effect in Qt.
        transport_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        watchPeer(transport_->socketDescriptor());
    });
    if (!secure)
        return;
    connect(secure, &QSslSocket::encrypted, this, [this] { stage_ = TransferStage::connected; });
    connect(secure, &QSslSocket::encryptedBytesWritten, this, [this] { sendWaiting(); });
}

void SocketConnection::watch() {
    auto* socket = socket_.get();
    connect(socket, &QWebSocket::connected, this, [this] { connected(); });
    connect(socket, &QWebSocket::sslErrors, this, [this] { certificates_ = CertificateCheck::hasFailed; });
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    const auto errorOccurred = &QWebSocket::errorOccurred;
#else
    const auto errorOccurred = qOverload<QAbstractSocket::SocketError>(&QWebSocket::error);
#endif
    connect(socket, errorOccurred, this, [this](QAbstractSocket::SocketError error) { ended(error); });
    connect(socket, &QWebSocket::disconnected, this, [this] { ended(socket_->error()); });
    connect(socket, &QWebSocket::bytesWritten, this, [this] { sendWaiting(); });
    connect(socket, &QWebSocket::textMessageReceived, this, [this](const QString& text) {
        arrived({platform::WebSocketMessage::Kind::text, text.toStdString()});
    });
    connect(socket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray& bytes) {
        arrived({platform::WebSocketMessage::Kind::binary, bytes.toStdString()});
    });
}

void SocketConnection::ended(QAbstractSocket::SocketError error) {
    fail(isOpen_ ? Code::networkConnectionLost : codeOf(error, stage_, certificates_));
}

void SocketConnection::connected() {
    handshakeLimit_.stop();
    isOpen_ = true;
    sendWaiting();
}

void SocketConnection::send(platform::WebSocketMessage message, runtime::Continuation<> sender) {
    if (failure_) {
        sender.fail(urlFailure(*failure_));
        return;
    }
    outgoing_.push_back({std::move(message), std::move(sender)});
    sendWaiting();
}

void SocketConnection::sendWaiting() {
    // Writing reports its progress inside the call.
    if (isSending_ || !isOpen_)
        return;
    isSending_ = true;

    // One message at a time, so that the end of each one is known.
    while (!failure_ && hasWrittenAll()) {
        if (const auto sender = std::exchange(writing_, std::nullopt))
            sender->resume();
        if (outgoing_.empty())
            break;
        auto next = std::move(outgoing_.front());
        outgoing_.pop_front();
        writing_.emplace(std::move(next.sender));
        const auto& bytes = next.message.bytes;
        if (next.message.kind == platform::WebSocketMessage::Kind::text)
            socket_->sendTextMessage(QString::fromStdString(bytes));
        else
            socket_->sendBinaryMessage(
                QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
        if (!failure_)
            socket_->flush();
    }
    isSending_ = false;
}

bool SocketConnection::hasWrittenAll() const {
    const auto* secure = qobject_cast<QSslSocket*>(transport_);
    return socket_->bytesToWrite() == 0 && (!secure || secure->encryptedBytesToWrite() == 0);
}

void SocketConnection::receive(runtime::Continuation<platform::WebSocketMessage> receiver) {
    if (incoming_.empty()) {
        if (failure_)
            receiver.fail(urlFailure(*failure_));
        else
            receiver_.emplace(std::move(receiver));
        return;
    }
    const auto bytes = incoming_.front().bytes.size();
    // A cancelled caller takes no message.
    if (receiver.resume(incoming_.front())) {
        incoming_.pop_front();
        incomingBytes_ -= bytes;
    }
}

void SocketConnection::arrived(platform::WebSocketMessage message) {
    if (failure_)
        return;
    if (const auto receiver = std::exchange(receiver_, std::nullopt)) {
        if (receiver->resume(message))
            return;
    }
    incomingBytes_ += message.bytes.size();
    incoming_.push_back(std::move(message));
    if (incomingBytes_ > maxIncomingBytes)
        fail(Code::networkConnectionLost);
}

void SocketConnection::cancel(int closeCode) {
    if (failure_)
        return;
    auto socket = endWaits(Code::cancelled);
    if (socket && isOpen_)
        closing_.close(std::move(socket), closeCode);
    else if (socket)
        closing_.abort(std::move(socket));
}

void SocketConnection::fail(Code code) {
    if (failure_)
        return;
    if (auto socket = endWaits(code))
        closing_.abort(std::move(socket));
}

std::unique_ptr<QWebSocket> SocketConnection::endWaits(Code code) {
    failure_ = code;
    handshakeLimit_.stop();
    const auto error = urlFailure(code);
    if (const auto sender = std::exchange(writing_, std::nullopt))
        sender->fail(error);
    for (const auto& waiting : std::exchange(outgoing_, {}))
        waiting.sender.fail(error);
    if (const auto receiver = std::exchange(receiver_, std::nullopt))
        receiver->fail(error);

    if (socket_)
        socket_->disconnect(this);
    if (transport_)
        transport_->disconnect(this);
    transport_ = nullptr;
    return std::move(socket_);
}

} // namespace sonvale::adapters::qt
