#include "adapters/freedesktop/PortalAppearance.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString animations = QStringLiteral("enable-animations");

constexpr unsigned prefersDark = 1;
constexpr unsigned prefersLight = 2;

/// Portals wrap values once or twice, depending on their version.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

PortalAppearance::PortalAppearance(const QDBusConnection& session)
    : session_(session) {
    if (!session_.isConnected())
        return;
    session_.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                     SLOT(settingChanged(QDBusMessage)));
    ask(appearanceGroup, colorScheme);
    ask(gnomeGroup, animations);
}

void PortalAppearance::setOnChange(std::function<void()> observer) {
    observer_ = std::move(observer);
}

void PortalAppearance::ask(const QString& group, const QString& key) {
    auto question =
        QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface, QStringLiteral("Read"));
    question << group << key;
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(session_.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this, group, key](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                // An error means that there is no portal, or that it does not know the key.
                const QDBusPendingReply<QDBusVariant> reply = *call;
                if (reply.isValid())
                    take(group, key, reply.value().variant());
            });
}

void PortalAppearance::settingChanged(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    if (message.signature() == QStringLiteral("ssv"))
        take(arguments[0].toString(), arguments[1].toString(), arguments[2]);
}

void PortalAppearance::take(const QString& group, const QString& key, const QVariant& value) {
    auto now = preferences_;
    if (group == appearanceGroup && key == colorScheme) {
        const auto scheme = unwrapped(value).toUInt();
        now.isDark = scheme == prefersDark    ? std::optional(true)
                     : scheme == prefersLight ? std::optional(false)
                                              : std::nullopt;
    } else if (group == gnomeGroup && key == animations) {
        now.isMotionReduced = !unwrapped(value).toBool();
    }
    if (std::exchange(preferences_, now) != now && observer_)
        observer_();
}

} // namespace sonvale::adapters::freedesktop
