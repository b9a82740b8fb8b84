#include "tests/ui/StatusNotifierPanel.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QUuid>
#include <stdexcept>

namespace sonvale::tests {

namespace {

/// The item asks us back while we ask it, so Qt's events have to run meanwhile.
QDBusMessage answerTo(const QDBusConnection& bus, const QDBusMessage& question) {
    const auto call = bus.asyncCall(question, 10000);
    QDBusPendingCall pending = call;
    eventually(10, [&] {
        QCoreApplication::processEvents();
        return pending.isFinished();
    });
    return pending.reply();
}

} // namespace

StatusNotifierPanel::StatusNotifierPanel(const PrivateBus& bus)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(bus.address()),
                                         QUuid::createUuid().toString())) {
    if (!bus_.isConnected())
        throw std::runtime_error("no session bus");
    bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                        QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                            QDBusConnection::ExportAllProperties);
    if (!bus_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")))
        throw std::runtime_error("the watcher's name is taken");
}

StatusNotifierPanel::~StatusNotifierPanel() {
    QDBusConnection::disconnectFromBus(bus_.name());
}

void StatusNotifierPanel::RegisterStatusNotifierItem(const QString& service) {
    items_.append(service);
    Q_EMIT StatusNotifierItemRegistered(service);
}

QVariant StatusNotifierPanel::property(const QString& name) {
    auto question = QDBusMessage::createMethodCall(items_.at(0), QStringLiteral("/StatusNotifierItem"),
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question << QStringLiteral("org.kde.StatusNotifierItem") << name;
    const QDBusPendingReply<QDBusVariant> reply = answerTo(bus_, question);
    return reply.isValid() ? reply.value().variant() : QVariant();
}

std::uint32_t StatusNotifierPanel::iconGround() {
    const auto pictures = property(QStringLiteral("IconPixmap")).value<QDBusArgument>();
    std::uint32_t color = 0;
    pictures.beginArray();
    while (!pictures.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray pixels;
        pictures.beginStructure();
        pictures >> width >> height >> pixels;
        pictures.endStructure();
        if (width != 32)
            continue;
        // ARGB in network order; three rows under the edge the disc is whole.
        const auto* pixel =
            reinterpret_cast<const unsigned char*>(pixels.constData()) + (3 * width + width / 2) * 4;
        color = std::uint32_t{pixel[0]} << 24 | std::uint32_t{pixel[1]} << 16 | std::uint32_t{pixel[2]} << 8 |
                pixel[3];
    }
    pictures.endArray();
    return color;
}

std::vector<StatusNotifierPanel::MenuLine> StatusNotifierPanel::menu() {
    const auto path = property(QStringLiteral("Menu")).value<QDBusObjectPath>();
    auto question = QDBusMessage::createMethodCall(
        items_.at(0), path.path(), QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("GetLayout"));
    question << 0 << -1 << QStringList();
    const auto reply = answerTo(bus_, question);
    std::vector<MenuLine> lines;
    if (reply.type() != QDBusMessage::ReplyMessage)
        return lines;

    const auto layout = reply.arguments().at(1).value<QDBusArgument>();
    int root = 0;
    QVariantMap rootProperties;
    layout.beginStructure();
    layout >> root >> rootProperties;
    layout.beginArray();
    while (!layout.atEnd()) {
        QDBusVariant child;
        layout >> child;
        const auto item = child.variant().value<QDBusArgument>();
        MenuLine line;
        QVariantMap properties;
        item.beginStructure();
        item >> line.id >> properties;
        item.endStructure();
        line.label = properties.value(QStringLiteral("label")).toString().toStdString();
        line.isEnabled = properties.value(QStringLiteral("enabled"), true).toBool();
        line.isSeparator = properties.value(QStringLiteral("type")).toString() == QLatin1String("separator");
        if (properties.value(QStringLiteral("visible"), true).toBool())
            lines.push_back(line);
    }
    layout.endArray();
    layout.endStructure();
    return lines;
}

void StatusNotifierPanel::choose(int id) {
    const auto path = property(QStringLiteral("Menu")).value<QDBusObjectPath>();
    auto order = QDBusMessage::createMethodCall(
        items_.at(0), path.path(), QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("Event"));
    order << id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(0)) << 0u;
    bus_.send(order);
}

void StatusNotifierPanel::activate() {
    auto order = QDBusMessage::createMethodCall(items_.at(0), QStringLiteral("/StatusNotifierItem"),
                                                QStringLiteral("org.kde.StatusNotifierItem"),
                                                QStringLiteral("Activate"));
    order << 0 << 0;
    bus_.send(order);
}

} // namespace sonvale::tests
