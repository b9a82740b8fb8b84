#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <optional>
#include <utility>

namespace sonvale::adapters::freedesktop {

inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

/// Sends `question` and calls `handler` with the answer, a `T`, in a later turn of the event loop of `owner`.
/// Does not wait and starts no service. `handler` is not called after an error, after an answer of another
/// type, and after the destruction of `owner`.
template <class T, class Handler>
void askBus(const QDBusConnection& bus, QDBusMessage question, QObject* owner, Handler handler) {
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), owner);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, owner,
                     [handler = std::move(handler)](QDBusPendingCallWatcher* call) {
                         call->deleteLater();
                         if (const QDBusPendingReply<T> reply = *call; reply.isValid())
                             handler(reply.value());
                     });
}

/// Returns the question for the connection that owns a name on the bus, a `QString`.
QDBusMessage nameOwnerQuestion(const QString& name);

/// Returns the question for a property, a `QDBusVariant`.
QDBusMessage propertyQuestion(const QString& service, const QString& path, const QString& interface,
                              const QString& property);

/// Returns the properties in an argument of PropertiesChanged by their names, or nullopt if the argument has
/// another form.
std::optional<QVariantMap> propertiesIn(const QVariant& argument);

} // namespace sonvale::adapters::freedesktop
