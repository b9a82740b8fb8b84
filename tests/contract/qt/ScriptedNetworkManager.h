#pragma once

#include "tests/support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantMap>
#include <string>

namespace sonvale::tests {

/// A private system bus with the part of NetworkManager that reports the state and the primary connection's
/// device. It answers while Qt's events are processed.
class ScriptedNetworkManager final : public QDBusVirtualObject {
public:
    /// NMState and NMDeviceType of NetworkManager's D-Bus interface.
    enum class State : unsigned { disconnected = 20, connectedGlobally = 70 };
    enum class Device : unsigned { none = 0, ethernet = 1, wifi = 2, modem = 8 };

    ScriptedNetworkManager();
    ~ScriptedNetworkManager() override;

    /// For DBUS_SYSTEM_BUS_ADDRESS.
    std::string address() const { return bus_.address(); }

    void set(State state, Device device);
    /// Leaves later questions unanswered.
    void fallSilent() { isSilent_ = true; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    QVariantMap propertiesOf(const QString& path) const;

    PrivateBus bus_{{}};
    const QString connectionName_;
    QDBusConnection connection_;
    State state_ = State::disconnected;
    Device device_ = Device::none;
    bool isSilent_ = false;
};

} // namespace sonvale::tests
