#pragma once

#include "platform/Appearance.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariant>
#include <functional>

class QDBusMessage;

namespace sonvale::adapters::freedesktop {

/// The appearance as the portal of the desktop reports it (the settings "org.freedesktop.appearance" and, for
/// motion, GNOME's "enable-animations"). Without a portal there is no preference. Main actor; the event loop
/// delivers the reports. Nothing here waits for the bus, and no service is started.
class PortalAppearance final : public QObject, public platform::Appearance {
    Q_OBJECT

public:
    explicit PortalAppearance(const QDBusConnection& session = QDBusConnection::sessionBus());

    Preferences preferences() const override { return preferences_; }
    void setOnChange(std::function<void()> observer) override;

private:
    Q_SLOT void settingChanged(const QDBusMessage& message);
    void ask(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection session_;
    Preferences preferences_;
    std::function<void()> observer_;
};

} // namespace sonvale::adapters::freedesktop
