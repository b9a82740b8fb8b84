#include "adapters/freedesktop/QtSessionLock.h"

#include "adapters/freedesktop/QtBus.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QStringList>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

struct ScreenSaver {
    const char* name; ///< the name of the service and of its interface
    const char* path;
};

// KDE uses the first, GNOME the second.
constexpr ScreenSaver screenSavers[] = {
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
    {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
    {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"},
    {"org.mate.ScreenSaver", "/"},
    {"org.xfce.ScreenSaver", "/"},
};

const QString logind = QStringLiteral("org.freedesktop.login1");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString lockedHint = QStringLiteral("LockedHint");

} // namespace

QtSessionLock::QtSessionLock(const QDBusConnection& session, const QDBusConnection& system)
    : session_(session)
    , system_(system) {
    if (session_.isConnected())
        observeScreenSavers();
    if (system_.isConnected())
        findSession();
}

void QtSessionLock::setOnLockChange(std::function<void(bool isLocked)> observer) {
    observer_ = std::move(observer);
    if (isLocked_ && observer_)
        observer_(true);
}

void QtSessionLock::observeScreenSavers() {
    owners_.setConnection(session_);
    owners_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&owners_, &QDBusServiceWatcher::serviceUnregistered, this, &QtSessionLock::saverLeft);
    for (const auto& saver : screenSavers) {
        const auto name = QString::fromLatin1(saver.name);
        // From every sender and path: KDE sends from two paths, and Qt would ask for the owner of a named
        // sender.
        session_.connect(QString(), QString(), name, QStringLiteral("ActiveChanged"), this,
                         SLOT(activeChanged(QDBusMessage)));
        findSaver(name, QString::fromLatin1(saver.path));
    }
}

/// Asks for the owner of the name first: signals come from the owner, and Qt 6.8 does not say who has sent a
/// reply.
void QtSessionLock::findSaver(const QString& name, const QString& path) {
    // An error means that the desktop has another screen saver, or none.
    askBus<QString>(session_, nameOwnerQuestion(name), this,
                    [this, name, path](const QString& owner) { askWhetherActive(owner, name, path); });
}

void QtSessionLock::askWhetherActive(const QString& saver, const QString& interface, const QString& path) {
    const auto question = QDBusMessage::createMethodCall(saver, path, interface, QStringLiteral("GetActive"));
    // An error means that it has quit, or cannot lock.
    askBus<bool>(session_, question, this, [this, saver](bool isActive) { setActive(saver, isActive); });
}

void QtSessionLock::activeChanged(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (arguments.size() == 1 && arguments[0].metaType() == QMetaType::fromType<bool>())
        setActive(message.service(), arguments[0].toBool());
}

void QtSessionLock::findSession() {
    auto question = QDBusMessage::createMethodCall(logind, QStringLiteral("/org/freedesktop/login1"),
                                                   QStringLiteral("org.freedesktop.login1.Manager"),
                                                   QStringLiteral("GetSession"));
    // The session of the caller, or else the visible one.
    question << QStringLiteral("auto");
    // An error means that the system has no logind, or that the user has no session there.
    askBus<QDBusObjectPath>(system_, question, this,
                            [this](const QDBusObjectPath& path) { observeSession(path.path()); });
}

void QtSessionLock::observeSession(const QString& path) {
    sessionPath_ = path;
    system_.connect(QString(), path, propertiesInterface, QStringLiteral("PropertiesChanged"),
                    {sessionInterface}, QString(), this, SLOT(sessionChanged(QDBusMessage)));
    askForHint();
}

void QtSessionLock::sessionChanged(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (arguments.size() < 3)
        return;
    const auto changed = propertiesIn(arguments[1]);
    if (!changed)
        return;
    if (const auto hint = changed->constFind(lockedHint); hint != changed->cend())
        setHint(*hint);
    else if (arguments[2].toStringList().contains(lockedHint))
        askForHint();
}

void QtSessionLock::askForHint() {
    // An error means that the session is over.
    askBus<QDBusVariant>(system_, propertyQuestion(logind, sessionPath_, sessionInterface, lockedHint), this,
                         [this](const QDBusVariant& hint) { setHint(hint.variant()); });
}

void QtSessionLock::saverLeft(const QString& saver) {
    setActive(saver, false);
}

void QtSessionLock::setActive(const QString& saver, bool isActive) {
    if (isActive && activeSavers_.insert(saver).second)
        owners_.addWatchedService(saver);
    else if (!isActive && activeSavers_.erase(saver) > 0)
        owners_.removeWatchedService(saver);
    report();
}

void QtSessionLock::setHint(const QVariant& value) {
    hint_ = value.metaType() == QMetaType::fromType<bool>() && value.toBool();
    report();
}

void QtSessionLock::report() {
    const bool isLocked = hint_ || !activeSavers_.empty();
    if (std::exchange(isLocked_, isLocked) != isLocked && observer_)
        observer_(isLocked);
}

} // namespace sonvale::adapters::freedesktop
