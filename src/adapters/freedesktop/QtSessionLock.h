#pragma once

#include "platform/SessionLock.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <functional>
#include <set>

class QDBusMessage;

namespace sonvale::adapters::freedesktop {

/// The lock of the session, as the desktop reports it over D-Bus: `LockedHint` of the session at logind, on
/// the system bus, and `ActiveChanged` of the desktop's screen saver, on the session bus. One of them is
/// enough. Main actor; the event loop delivers the reports.
///
/// Nothing here waits for a bus or a service, and no service is started. A screen saver that leaves the bus
/// counts as ended. A screen locker that reports to neither (i3lock, slock, xscreensaver) is not noticed.
class QtSessionLock final : public QObject, public platform::SessionLock {
    Q_OBJECT

public:
    explicit QtSessionLock(const QDBusConnection& session = QDBusConnection::sessionBus(),
                           const QDBusConnection& system = QDBusConnection::systemBus());

    void setOnLockChange(std::function<void(bool isLocked)> observer) override;

private:
    Q_SLOT void activeChanged(const QDBusMessage& message);
    Q_SLOT void sessionChanged(const QDBusMessage& message);
    void observeScreenSavers();
    void findSaver(const QString& name, const QString& path);
    void askWhetherActive(const QString& saver, const QString& interface, const QString& path);
    void findSession();
    void observeSession(const QString& path);
    void askForHint();
    void saverLeft(const QString& saver);
    void setActive(const QString& saver, bool isActive);
    void setHint(const QVariant& value);
    void report();

    QDBusConnection session_;
    QDBusConnection system_;
    QDBusServiceWatcher owners_; ///< connections of active screen savers
    std::function<void(bool)> observer_;
    std::set<QString> activeSavers_; ///< by their connections to the bus
    QString sessionPath_;            ///< at logind
    bool hint_ = false;
    bool isLocked_ = false; ///< the last report
};

} // namespace sonvale::adapters::freedesktop
