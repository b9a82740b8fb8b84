#pragma once

#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <functional>
#include <memory>

class QDBusServiceWatcher;

namespace sonvale::ui {

/// Waits for a panel that shows tray icons: one that speaks StatusNotifierItem, or an X11 system tray. It is
/// told of both, so it uses no time while it waits. Main actor.
///
/// Qt decides between the two when the first tray icon is made and keeps to it. At the start of a session the
/// first kind often comes a moment after the second, so for `grace` seconds only the first kind counts.
class TrayHost final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    static constexpr double grace = 2;

    /// `clock` must outlive it. `onFound` is called once, never from inside this constructor; `onNoneYet` at
    /// most once, when the grace is over and there is neither.
    TrayHost(const runtime::Actor& mainActor, runtime::Clock& clock, std::function<void()> onFound,
             std::function<void()> onNoneYet);
    ~TrayHost() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void watchSessionBus();
    void askWatcher();
    void endGrace();
    void found();

    Q_SLOT void hostRegistered();

    runtime::Clock& clock_;
    std::function<void()> onFound_; ///< empty once called
    std::function<void()> onNoneYet_;
    runtime::Clock::TimerId graceTimer_ = 0;
    QDBusServiceWatcher* watcher_ = nullptr;
    std::uint32_t managerAtom_ = 0;
    std::uint32_t trayAtom_ = 0;
    bool isGraceOver_ = false;
    std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);
};

} // namespace sonvale::ui
