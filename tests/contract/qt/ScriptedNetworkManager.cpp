#include "tests/contract/qt/ScriptedNetworkManager.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QUuid>
#include <stdexcept>

namespace sonvale::tests {

namespace {

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString root = QStringLiteral("/org/freedesktop/NetworkManager");
const QString connections = root + QStringLiteral("/ActiveConnection/");
const QString devices = root + QStringLiteral("/Devices/");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace

ScriptedNetworkManager::ScriptedNetworkManager()
    : connectionName_(QUuid::createUuid().toString())
    , connection_(QDBusConnection::connectToBus(QString::fromStdString(address()), connectionName_)) {
    if (!connection_.registerVirtualObject(root, this, QDBusConnection::SubPath) ||
        !connection_.registerService(service))
        throw std::runtime_error("the scripted NetworkManager is not on the bus");
}

ScriptedNetworkManager::~ScriptedNetworkManager() {
    connection_.unregisterObject(root, QDBusConnection::UnregisterTree);
    QDBusConnection::disconnectFromBus(connectionName_);
}

void ScriptedNetworkManager::set(State state, Device device) {
    state_ = state;
    device_ = device;
    auto signal = QDBusMessage::createSignal(root, properties, QStringLiteral("PropertiesChanged"));
    signal << service << propertiesOf(root) << QStringList{};
    connection_.send(signal);
}

QVariantMap ScriptedNetworkManager::propertiesOf(const QString& path) const {
    const auto number = QString::number(static_cast<unsigned>(device_));
    if (path.startsWith(connections)) {
        return {{QStringLiteral("Devices"),
                 QVariant::fromValue(QList{QDBusObjectPath(devices + path.mid(connections.size()))})}};
    }
    if (path.startsWith(devices))
        return {{QStringLiteral("DeviceType"), path.mid(devices.size()).toUInt()}};
    const auto primary = device_ == Device::none ? QStringLiteral("/") : connections + number;
    return {{QStringLiteral("State"), static_cast<unsigned>(state_)},
            {QStringLiteral("PrimaryConnection"), QVariant::fromValue(QDBusObjectPath(primary))}};
}

QString ScriptedNetworkManager::introspect(const QString& path) const {
    const QString form =
        QStringLiteral(R"(<interface name="%1"><property name="%2" type="%3" access="read"/></interface>)");
    if (path.startsWith(connections))
        return form.arg(service + QStringLiteral(".Connection.Active"), QStringLiteral("Devices"),
                        QStringLiteral("ao"));
    if (path.startsWith(devices))
        return form.arg(service + QStringLiteral(".Device"), QStringLiteral("DeviceType"),
                        QStringLiteral("u"));
    return form.arg(service, QStringLiteral("State"), QStringLiteral("u"));
}

bool ScriptedNetworkManager::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (isSilent_)
        return true;
    if (message.interface() != properties)
        return false;
    const auto all = propertiesOf(message.path());
    if (message.member() == QStringLiteral("GetAll"))
        return connection.send(message.createReply(all));
    const auto value = all.value(message.arguments().value(1).toString());
    if (message.member() != QStringLiteral("Get") || !value.isValid())
        return false;
    return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(value))));
}

} // namespace sonvale::tests
