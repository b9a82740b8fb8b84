#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QUuid>
#include <functional>
#include <string>

namespace sonvale::tests {

/// A private bus, and the connection of an adapter to it.
class BusConnection {
public:
    BusConnection()
        : connection(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), name_)) {}
    ~BusConnection() { QDBusConnection::disconnectFromBus(name_); }
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    std::string address() const { return bus_.address(); }

    /// Waits until the bus has handled everything that was sent on the connection so far. Signals of other
    /// connections are only delivered after the bus has handled the request for them.
    void synchronize() const {
        const auto service = QStringLiteral("org.freedesktop.DBus");
        connection.call(QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/DBus"),
                                                       service, QStringLiteral("GetId")));
    }

private:
    PrivateBus bus_{{}};
    const QString name_ = QUuid::createUuid().toString();

public:
    QDBusConnection connection;
};

/// Handles Qt's events until `condition` holds, for up to 10 s. Returns whether it does.
inline bool comesToHold(const std::function<bool()>& condition) {
    return eventually(10, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

} // namespace sonvale::tests
