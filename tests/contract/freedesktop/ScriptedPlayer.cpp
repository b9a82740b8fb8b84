#include "tests/contract/freedesktop/ScriptedPlayer.h"

#include <QDBusVariant>
#include <QUuid>
#include <stdexcept>

namespace sonvale::tests {

namespace {

const QString path = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

} // namespace

ScriptedPlayer::ScriptedPlayer(const std::string& busAddress, const std::optional<std::string>& name)
    : connectionName_(QUuid::createUuid().toString())
    , service_(name ? QStringLiteral("org.mpris.MediaPlayer2.") + QString::fromStdString(*name) : QString())
    , bus_(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName_)) {
    if (!bus_.registerVirtualObject(path, this))
        throw std::runtime_error("the scripted player is not on the bus");
    if (!service_.isEmpty() && !bus_.registerService(service_))
        throw std::runtime_error("the scripted player has no name");
}

ScriptedPlayer::~ScriptedPlayer() {
    leave();
}

void ScriptedPlayer::report(const QVariantMap& changed, const QStringList& invalidated) {
    send(propertiesInterface, QStringLiteral("PropertiesChanged"), {playerInterface, changed, invalidated});
}

void ScriptedPlayer::send(const QString& interface, const QString& member, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(path, interface, member);
    signal.setArguments(arguments);
    if (!bus_.send(signal))
        throw std::runtime_error("the scripted player cannot send");
}

void ScriptedPlayer::giveUpName() {
    bus_.unregisterService(service_);
}

void ScriptedPlayer::leave() {
    if (!bus_.isConnected())
        return;
    bus_.unregisterObject(path);
    // The connection closes with the last object that refers to it.
    bus_ = QDBusConnection(QStringLiteral("none"));
    QDBusConnection::disconnectFromBus(connectionName_);
}

QString ScriptedPlayer::introspect(const QString& /*path*/) const {
    return {};
}

bool ScriptedPlayer::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.interface() == playerInterface && message.member() == QStringLiteral("PlayPause")) {
        ++toggles_;
        return connection.send(message.createReply());
    }
    if (message.interface() == propertiesInterface && message.member() == QStringLiteral("Get"))
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(status))));
    return false;
}

} // namespace sonvale::tests
