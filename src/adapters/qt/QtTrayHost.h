#pragma once

#include "platform/TrayHost.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>

class QDBusServiceWatcher;

namespace sonvale::adapters::qt {

/// A panel that Qt's tray icon can use: one for StatusNotifierItem (D-Bus), or an X11 system tray. Both
/// announce themselves. Main actor.
///
/// Qt chooses between the two when the first tray icon is made, and keeps its choice. At the start of a
/// session the first kind often comes a moment after the second, so only the first kind counts for `grace`
/// seconds.
class QtTrayHost final : public QObject, public platform::TrayHost, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    static constexpr double grace = 2;

    /// `clock` must outlive the host.
    QtTrayHost(runtime::Actor mainActor, runtime::Clock& clock,
               const QDBusConnection& session = QDBusConnection::sessionBus());
    ~QtTrayHost() override;

    void wait(std::function<void()> onFound, std::function<void()> onNoneYet) override;
    void stop() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    bool watchSessionBus();
    void askWatcher();
    void endGrace();
    void found();

    Q_SLOT void hostRegistered();

    const runtime::Actor mainActor_;
    runtime::Clock& clock_;
    QDBusConnection session_;
    std::function<void()> onFound_; ///< empty once called
    std::function<void()> onNoneYet_;
    runtime::Clock::TimerId graceTimer_ = 0;
    std::unique_ptr<QDBusServiceWatcher> watcher_;
    std::uint32_t managerAtom_ = 0;
    std::uint32_t trayAtom_ = 0;
    std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
};

} // namespace sonvale::adapters::qt
