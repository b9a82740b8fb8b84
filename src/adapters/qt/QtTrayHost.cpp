#include "adapters/qt/QtTrayHost.h"

#include "adapters/qt/X11Selection.h"

#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
constexpr const char* traySelection = "_NET_SYSTEM_TRAY_S0";

} // namespace

QtTrayHost::QtTrayHost(runtime::Actor mainActor, runtime::Clock& clock, const QDBusConnection& session)
    : mainActor_(std::move(mainActor))
    , clock_(clock)
    , session_(session) {}

QtTrayHost::~QtTrayHost() {
    stop();
}

void QtTrayHost::wait(std::function<void()> onFound, std::function<void()> onNoneYet) {
    onFound_ = std::move(onFound);
    onNoneYet_ = std::move(onNoneYet);
    const bool hasBus = watchSessionBus();
    const auto endGraceOnMain = [this, actor = mainActor_, alive = std::weak_ptr<bool>(isAlive_)] {
        actor.post([this, alive] {
            if (!alive.expired())
                endGrace();
        });
    };
    // Without a session bus there is no panel to wait for.
    graceTimer_ = clock_.schedule(hasBus ? grace : 0, endGraceOnMain);
}

void QtTrayHost::stop() {
    onFound_ = nullptr;
    onNoneYet_ = nullptr;
    clock_.cancel(graceTimer_);
    watcher_.reset();
    if (auto* application = QCoreApplication::instance())
        application->removeNativeEventFilter(this);
}

/// Returns whether there is a session bus.
bool QtTrayHost::watchSessionBus() {
    if (!session_.isConnected())
        return false;
    watcher_ = std::make_unique<QDBusServiceWatcher>(watcherService, session_,
                                                     QDBusServiceWatcher::WatchForRegistration);
    connect(watcher_.get(), &QDBusServiceWatcher::serviceRegistered, this, &QtTrayHost::askWatcher);
    session_.connect(watcherService, watcherPath, watcherService,
                     QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(hostRegistered()));
    askWatcher();
    return true;
}

void QtTrayHost::askWatcher() {
    auto question = QDBusMessage::createMethodCall(watcherService, watcherPath,
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    // The question must not start a watcher.
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(session_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        // An error means that there is no watcher; its arrival is announced.
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isValid() && reply.value().variant().toBool())
            found();
    });
}

void QtTrayHost::hostRegistered() {
    found();
}

void QtTrayHost::endGrace() {
    if (!onFound_)
        return;
    if (isOnX11()) {
        // From here on the announcement of an X11 tray counts. Asking after that leaves no gap.
        managerAtom_ = x11Atom("MANAGER");
        trayAtom_ = x11Atom(traySelection);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    if (hasX11Owner(traySelection))
        found();
    else
        onNoneYet_();
}

bool QtTrayHost::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
        return false;
    const auto* announcement = reinterpret_cast<const xcb_client_message_event_t*>(event);
    if (announcement->type == managerAtom_ && announcement->data.data32[1] == trayAtom_)
        QMetaObject::invokeMethod(this, &QtTrayHost::found, Qt::QueuedConnection);
    return false;
}

void QtTrayHost::found() {
    if (!onFound_)
        return;
    const auto onFound = std::exchange(onFound_, nullptr);
    stop();
    onFound();
}

} // namespace sonvale::adapters::qt
