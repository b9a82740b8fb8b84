#include "adapters/qt/network/ClosingSockets.h"

#include <QAbstractSocket>
#include <QMetaObject>
#include <QRandomGenerator>
#include <QTimer>
#include <QtEndian>
#include <array>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

constexpr int millisecondsToClose = 2000;

/// RFC 6455, 5.2, 5.3 and 5.5.1.
QByteArray closeFrame(int code) {
    std::array<char, 4> mask{};
    qToBigEndian(QRandomGenerator::system()->generate(), mask.data());
    std::array<char, 2> payload{};
    qToBigEndian(static_cast<quint16>(code), payload.data());

    QByteArray frame("\x88\x82");
    frame.append(mask.data(), mask.size());
    for (std::size_t i = 0; i < payload.size(); ++i)
        frame.append(static_cast<char>(payload[i] ^ mask[i]));
    return frame;
}

} // namespace

QAbstractSocket* transportOf(const QWebSocket& socket) {
    // Qt does not expose it, but it is the only one among the socket's children.
    return socket.findChild<QAbstractSocket*>(QString(), Qt::FindDirectChildrenOnly);
}

void ClosingSockets::abort(std::unique_ptr<QWebSocket> socket) {
    auto* kept = keep(std::move(socket));
    QMetaObject::invokeMethod(
        kept,
        [kept] {
            kept->abort();
            kept->deleteLater();
        },
        Qt::QueuedConnection);
}

void ClosingSockets::close(std::unique_ptr<QWebSocket> socket, int code) {
    auto* transport = transportOf(*socket);
    if (socket->state() != QAbstractSocket::ConnectedState || !transport) {
        abort(std::move(socket));
        return;
    }

    // Qt itself would close the connection at once, which resets it when the answer to the frame arrives.
    auto* kept = keep(std::move(socket));
    connect(kept, &QWebSocket::disconnected, kept, &QObject::deleteLater);
    QTimer::singleShot(millisecondsToClose, kept, [kept] {
        kept->abort();
        kept->deleteLater();
    });
    transport->write(closeFrame(code));
    transport->flush();
}

void ClosingSockets::whenEmpty(int maxMilliseconds, std::function<void()> then) {
    whenEmpty_ = std::move(then);
    if (count_ == 0)
        becomeEmpty();
    else
        QTimer::singleShot(maxMilliseconds, this, [this] { becomeEmpty(); });
}

QWebSocket* ClosingSockets::keep(std::unique_ptr<QWebSocket> socket) {
    auto* kept = socket.release();
    kept->setParent(this);
    ++count_;
    connect(kept, &QObject::destroyed, this, [this] {
        if (--count_ == 0)
            becomeEmpty();
    });
    return kept;
}

void ClosingSockets::becomeEmpty() {
    if (const auto then = std::exchange(whenEmpty_, nullptr))
        then();
}

} // namespace sonvale::adapters::qt
