#include "tests/contract/freedesktop/ScriptedLocker.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QUuid>
#include <QVariantMap>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

const QString sessionPath = QStringLiteral("/org/freedesktop/login1/session/_32");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString lockedHint = QStringLiteral("LockedHint");

} // namespace

const std::vector<ScriptedLocker::Kind>& ScriptedLocker::kinds() {
    static const std::vector<Kind> all{
        {"Kde", QStringLiteral("org.freedesktop.ScreenSaver"),
         QStringLiteral("/org/freedesktop/ScreenSaver")},
        {"Gnome", QStringLiteral("org.gnome.ScreenSaver"), QStringLiteral("/org/gnome/ScreenSaver")},
        {"Cinnamon", QStringLiteral("org.cinnamon.ScreenSaver"), QStringLiteral("/org/cinnamon/ScreenSaver")},
        {"Mate", QStringLiteral("org.mate.ScreenSaver"), QStringLiteral("/")},
        {"Xfce", QStringLiteral("org.xfce.ScreenSaver"), QStringLiteral("/")},
        {"Logind", QStringLiteral("org.freedesktop.login1"), sessionPath, true},
    };
    return all;
}

ScriptedLocker::ScriptedLocker(const std::string& busAddress, Kind kind)
    : kind_(std::move(kind))
    , connectionName_(QUuid::createUuid().toString())
    , bus_(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName_)) {
    if (!bus_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath) ||
        !bus_.registerService(kind_.name))
        throw std::runtime_error("the scripted locker is not on the bus");
}

ScriptedLocker::~ScriptedLocker() {
    bus_.unregisterObject(QStringLiteral("/"));
    // The connection closes with the last object that refers to it.
    bus_ = QDBusConnection(QStringLiteral("none"));
    QDBusConnection::disconnectFromBus(connectionName_);
}

void ScriptedLocker::setLocked(bool isLocked) {
    isLocked_ = isLocked;
    if (!kind_.isOfSystem) {
        send(QStringLiteral("ActiveChanged"), {isLocked});
        return;
    }
    auto signal =
        QDBusMessage::createSignal(sessionPath, propertiesInterface, QStringLiteral("PropertiesChanged"));
    signal << sessionInterface << QVariantMap{{lockedHint, isLocked}} << QStringList();
    bus_.send(signal);
}

void ScriptedLocker::send(const QString& member, const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(kind_.path, kind_.name, member);
    signal.setArguments(arguments);
    if (!bus_.send(signal))
        throw std::runtime_error("the scripted locker cannot send");
}

QString ScriptedLocker::introspect(const QString& /*path*/) const {
    return {};
}

bool ScriptedLocker::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() == QStringLiteral("GetActive") && message.path() == kind_.path)
        return connection.send(message.createReply(isLocked_));
    if (message.member() == QStringLiteral("GetSession") &&
        message.arguments() == QVariantList{QStringLiteral("auto")})
        return connection.send(message.createReply(QVariant::fromValue(QDBusObjectPath(sessionPath))));
    if (message.member() == QStringLiteral("Get") && message.path() == sessionPath &&
        message.arguments() == QVariantList{sessionInterface, lockedHint})
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(isLocked_))));
    return false;
}

} // namespace sonvale::tests
