#include "ui/common/Appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

namespace sonvale::ui {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString animations = QStringLiteral("enable-animations");

constexpr const char* installedProperty = "sonvaleAppearance";

constexpr unsigned prefersDark = 1;
constexpr unsigned prefersLight = 2;

/// The portal wraps values once or twice, by its version.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

Appearance::Appearance(QObject* parent)
    : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
    askPortal();
}

void Appearance::install(QQmlEngine& engine, Appearance& appearance) {
    engine.setProperty(installedProperty, QVariant::fromValue(&appearance));
    QJSEngine::setObjectOwnership(&appearance, QJSEngine::CppOwnership);
}

Appearance* Appearance::create(QQmlEngine* engine, QJSEngine* /*scripts*/) {
    return engine->property(installedProperty).value<Appearance*>();
}

bool Appearance::isDark() const {
    if (override_)
        return *override_;
    if (portalIsDark_)
        return *portalIsDark_;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

void Appearance::overrideDark(std::optional<bool> isDark) {
    override_ = isDark;
    Q_EMIT changed();
}

void Appearance::overrideMotionReduced(std::optional<bool> isMotionReduced) {
    motionOverride_ = isMotionReduced;
    Q_EMIT changed();
}

bool Appearance::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && object == QCoreApplication::instance())
        Q_EMIT changed();
    return QObject::eventFilter(object, event);
}

void Appearance::askPortal() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    for (const auto& setting : {std::pair(appearanceGroup, colorScheme), std::pair(gnomeGroup, animations)}) {
        auto question = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                       QStringLiteral("Read"));
        question << setting.first << setting.second;
        question.setAutoStartService(false);
        auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
        connect(answer, &QDBusPendingCallWatcher::finished, this,
                [this, setting](QDBusPendingCallWatcher* call) {
                    call->deleteLater();
                    // An error says that there is no portal, or that it does not know the key.
                    const QDBusPendingReply<QDBusVariant> reply = *call;
                    if (reply.isValid())
                        take(setting.first, setting.second, reply.value().variant());
                });
    }
}

void Appearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
}

void Appearance::take(const QString& group, const QString& key, const QVariant& value) {
    if (group == appearanceGroup && key == colorScheme) {
        const auto scheme = unwrapped(value).toUInt();
        portalIsDark_ = scheme == prefersDark    ? std::optional(true)
                        : scheme == prefersLight ? std::optional(false)
                                                 : std::nullopt;
    } else if (group == gnomeGroup && key == animations) {
        isMotionReduced_ = !unwrapped(value).toBool();
    } else {
        return;
    }
    Q_EMIT changed();
}

} // namespace sonvale::ui
