#pragma once

#include "platform/PathMonitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <functional>

namespace sonvale::adapters::qt {

/// The state of the link as NetworkManager reports it: its properties State and PrimaryConnection, and the
/// type of that connection's device (NetworkManager's D-Bus interface, NMState and NMDeviceType).
///
/// Belongs to one thread with an event loop. Nothing here waits: each question is asked without blocking, and
/// asked again if the link changes meanwhile.
class NetworkManagerLink final : public QObject {
    Q_OBJECT

public:
    /// Starts to ask on that bus. `onChange` is called on this thread when the path is known, and after each
    /// change.
    NetworkManagerLink(const QDBusConnection& system, std::function<void()> onChange);

    /// Returns the path without its addresses, which NetworkManager is not asked for.
    const platform::NetworkPath& path() const { return path_; }

private Q_SLOTS:
    void propertiesChanged(const QDBusMessage& message);

private:
    using Handler = std::function<void(const QVariantMap& properties)>;

    void ask();
    void askForConnection(const QString& connection, platform::NetworkPath path);
    void askForDevice(const QString& device, platform::NetworkPath path);
    void askForProperties(const QString& path, const QString& interface, Handler handler);
    void settle(const platform::NetworkPath& path);

    QDBusConnection system_;
    const std::function<void()> onChange_;
    platform::NetworkPath path_;
    std::uint64_t round_ = 0; ///< grows with each change; answers of an earlier round are dropped
};

} // namespace sonvale::adapters::qt
