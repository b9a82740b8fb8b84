#include "tests/contract/ScriptedPortal.h"

#include <QDBusVariant>
#include <QUuid>
#include <stdexcept>

namespace sonvale::tests {

namespace {

const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

} // namespace

ScriptedPortal::ScriptedPortal(const std::string& busAddress)
    : connectionName_(QUuid::createUuid().toString())
    , bus_(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName_)) {
    if (!bus_.registerVirtualObject(path, this) ||
        !bus_.registerService(QStringLiteral("org.freedesktop.portal.Desktop")))
        throw std::runtime_error("the scripted portal is not on the bus");
}

ScriptedPortal::~ScriptedPortal() {
    bus_.unregisterObject(path);
    // The connection closes with the last object that refers to it.
    bus_ = QDBusConnection(QStringLiteral("none"));
    QDBusConnection::disconnectFromBus(connectionName_);
}

void ScriptedPortal::set(const QString& group, const QString& key, const QVariant& value) {
    values_[{group, key}] = value;
}

void ScriptedPortal::change(const QString& group, const QString& key, const QVariant& value) {
    set(group, key, value);
    auto signal = QDBusMessage::createSignal(path, interface, QStringLiteral("SettingChanged"));
    signal << group << key << QVariant::fromValue(QDBusVariant(value));
    if (!bus_.send(signal))
        throw std::runtime_error("the scripted portal cannot send");
}

QString ScriptedPortal::introspect(const QString& /*path*/) const {
    return {};
}

bool ScriptedPortal::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() != interface || message.member() != QStringLiteral("Read"))
        return false;
    const auto arguments = message.arguments();
    const auto found = values_.find({arguments.value(0).toString(), arguments.value(1).toString()});
    if (found == values_.end())
        return connection.send(
            message.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                                     QStringLiteral("Requested setting not found")));
    // As the portals do: a variant in a variant.
    const QDBusVariant inner(found->second);
    return connection.send(
        message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(inner)))));
}

} // namespace sonvale::tests
