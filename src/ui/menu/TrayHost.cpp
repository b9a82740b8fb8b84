#include "ui/menu/TrayHost.h"

#include "ui/common/X11Selection.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace sonvale::ui {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
constexpr const char* traySelection = "_NET_SYSTEM_TRAY_S0";

} // namespace

TrayHost::TrayHost(const runtime::Actor& mainActor, runtime::Clock& clock, std::function<void()> onFound,
                   std::function<void()> onNoneYet)
    : clock_(clock)
    , onFound_(std::move(onFound))
    , onNoneYet_(std::move(onNoneYet)) {
    watchSessionBus();
    const auto endGraceOnMain = [this, mainActor, alive = std::weak_ptr<bool>(isAlive_)] {
        mainActor.post([this, alive] {
            if (!alive.expired())
                endGrace();
        });
    };
    // With no session bus there is nobody to wait for.
    graceTimer_ = clock_.schedule(watcher_ ? grace : 0, endGraceOnMain);
}

TrayHost::~TrayHost() {
    clock_.cancel(graceTimer_);
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

void TrayHost::watchSessionBus() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    watcher_ = new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher_, &QDBusServiceWatcher::serviceRegistered, this, &TrayHost::askWatcher);
    bus.connect(watcherService, watcherPath, watcherService, QStringLiteral("StatusNotifierHostRegistered"),
                this, SLOT(hostRegistered()));
    askWatcher();
}

void TrayHost::askWatcher() {
    auto question = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    // A watcher that is not running must not be started by the question.
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        // An error says that there is no watcher; its arrival is announced.
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isValid() && reply.value().variant().toBool())
            found();
    });
}

void TrayHost::hostRegistered() {
    found();
}

void TrayHost::endGrace() {
    if (!onFound_)
        return;
    isGraceOver_ = true;
    if (isOnX11()) {
        // From here on the announcement of an X11 tray counts; asking after that leaves no gap.
        managerAtom_ = x11Atom("MANAGER");
        trayAtom_ = x11Atom(traySelection);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    if (hasX11Owner(traySelection))
        found();
    else
        onNoneYet_();
}

bool TrayHost::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
        return false;
    const auto* announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
    if (announcement->type == managerAtom_ && announcement->data.data32[1] == trayAtom_)
        QMetaObject::invokeMethod(this, &TrayHost::found, Qt::QueuedConnection);
    return false;
}

void TrayHost::found() {
    if (!onFound_)
        return;
    clock_.cancel(graceTimer_);
    QCoreApplication::instance()->removeNativeEventFilter(this);
    delete watcher_;
    watcher_ = nullptr;
    std::exchange(onFound_, nullptr)();
}

} // namespace sonvale::ui
