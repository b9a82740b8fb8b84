#include "tests/ui/menu/StatusNotifierPanel.h"

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

/// Processes Qt's events during the call, because the item calls the panel back.
QDBusMessage answerTo(const QDBusConnection& bus, const QDBusMessage& question) {
    const auto call = bus.asyncCall(question, 10000);
    QDBusPendingCall pending = call;
    eventually(10, [&] {
        QCoreApplication::processEvents();
        return pending.isFinished();
    });
    return pending.reply();
}

/// A line of the menu with its children, as `GetLayout` returns it: (id, properties, children).
StatusNotifierPanel::MenuLine readLine(const QDBusArgument& from) {
    StatusNotifierPanel::MenuLine line;
    QVariantMap properties;
    from.beginStructure();
    from >> line.id >> properties;
    from.beginArray();
    while (!from.atEnd()) {
        QDBusVariant child;
        from >> child;
        const auto below = child.variant().value<QDBusArgument>();
        auto read = readLine(below);
        if (read.isVisible)
            line.submenu.push_back(std::move(read));
    }
    from.endArray();
    from.endStructure();
    line.label = properties.value(QStringLiteral("label")).toString().toStdString();
    line.isEnabled = properties.value(QStringLiteral("enabled"), true).toBool();
    line.isSeparator = properties.value(QStringLiteral("type")).toString() == QLatin1String("separator");
    line.isChecked =
        properties.value(QStringLiteral("toggle-type")).toString() == QLatin1String("checkmark") &&
        properties.value(QStringLiteral("toggle-state")).toInt() == 1;
    line.isVisible = properties.value(QStringLiteral("visible"), true).toBool();
    return line;
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
        // ARGB in network order. Three rows under the edge the disc has its full color.
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
    const auto ask = [&](const char* method, const QVariantList& arguments) {
        auto question = QDBusMessage::createMethodCall(
            items_.at(0), path.path(), QStringLiteral("com.canonical.dbusmenu"), QLatin1String(method));
        question.setArguments(arguments);
        return answerTo(bus_, question);
    };
    ask("AboutToShow", {0});
    const auto reply = ask("GetLayout", {0, -1, QStringList()});
    if (reply.type() != QDBusMessage::ReplyMessage)
        return {};
    return readLine(reply.arguments().at(1).value<QDBusArgument>()).submenu;
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
