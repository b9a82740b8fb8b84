#include "adapters/qt/NetworkManagerLink.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QList>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString root = QStringLiteral("/org/freedesktop/NetworkManager");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString noConnection = QStringLiteral("/");

enum class State : unsigned { disconnected = 20, disconnecting = 30 };
enum class DeviceType : unsigned { ethernet = 1, wifi = 2, bluetooth = 5, modem = 8 };

QString pathIn(const QVariantMap& properties, const QString& name) {
    return properties.value(name).value<QDBusObjectPath>().path();
}

} // namespace

NetworkManagerLink::NetworkManagerLink(const QDBusConnection& system, std::function<void()> onChange)
    : system_(system)
    , onChange_(std::move(onChange)) {
    system_.connect(service, root, propertiesInterface, QStringLiteral("PropertiesChanged"), {service},
                    QString(), this, SLOT(propertiesChanged(QDBusMessage)));
    ask();
}

void NetworkManagerLink::propertiesChanged(const QDBusMessage& /*message*/) {
    ask();
}

void NetworkManagerLink::ask() {
    ++round_;
    askForProperties(root, service, [this](const QVariantMap& properties) {
        const auto state = static_cast<State>(properties.value(QStringLiteral("State")).toUInt());
        platform::NetworkPath path;
        path.isSatisfied = state != State::disconnected && state != State::disconnecting;
        const auto connection = pathIn(properties, QStringLiteral("PrimaryConnection"));
        if (path.isSatisfied && !connection.isEmpty() && connection != noConnection)
            askForConnection(connection, path);
        else
            settle(path);
    });
}

void NetworkManagerLink::askForConnection(const QString& connection, platform::NetworkPath path) {
    askForProperties(connection, service + QStringLiteral(".Connection.Active"),
                     [this, path](const QVariantMap& properties) {
                         const auto devices =
                             qdbus_cast<QList<QDBusObjectPath>>(properties.value(QStringLiteral("Devices")));
                         if (devices.isEmpty())
                             settle(path);
                         else
                             askForDevice(devices.front().path(), path);
                     });
}

void NetworkManagerLink::askForDevice(const QString& device, platform::NetworkPath path) {
    askForProperties(device, service + QStringLiteral(".Device"),
                     [this, path](const QVariantMap& properties) {
                         const auto type =
                             static_cast<DeviceType>(properties.value(QStringLiteral("DeviceType")).toUInt());
                         auto found = path;
                         found.usesWifi = type == DeviceType::wifi;
                         found.usesCellular = type == DeviceType::modem || type == DeviceType::bluetooth;
                         found.usesWiredEthernet = type == DeviceType::ethernet;
                         settle(found);
                     });
}

/// Calls `handler` with the answer, with an empty answer after an error, and not at all if the link has
/// changed.
void NetworkManagerLink::askForProperties(const QString& path, const QString& interface, Handler handler) {
    auto question =
        QDBusMessage::createMethodCall(service, path, propertiesInterface, QStringLiteral("GetAll"));
    question << interface;
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(system_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, round = round_, handler = std::move(handler)](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                if (round != round_)
                    return;
                const QDBusPendingReply<QVariantMap> reply = *call;
                handler(reply.isValid() ? reply.value() : QVariantMap());
            });
}

void NetworkManagerLink::settle(const platform::NetworkPath& path) {
    path_ = path;
    onChange_();
}

} // namespace sonvale::adapters::qt
