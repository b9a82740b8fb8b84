#include "adapters/freedesktop/QtBus.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace sonvale::adapters::freedesktop {

QDBusMessage nameOwnerQuestion(const QString& name) {
    const auto bus = QStringLiteral("org.freedesktop.DBus");
    auto question = QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus,
                                                   QStringLiteral("GetNameOwner"));
    question << name;
    return question;
}

QDBusMessage propertyQuestion(const QString& service, const QString& path, const QString& interface,
                              const QString& property) {
    auto question = QDBusMessage::createMethodCall(service, path, propertiesInterface, QStringLiteral("Get"));
    question << interface << property;
    return question;
}

std::optional<QVariantMap> propertiesIn(const QVariant& argument) {
    if (argument.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto properties = argument.value<QDBusArgument>();
    if (properties.currentSignature() != QStringLiteral("a{sv}"))
        return std::nullopt;
    return qdbus_cast<QVariantMap>(properties);
}

} // namespace sonvale::adapters::freedesktop
