#include "platform/qt/QtPathMonitor.h"

#include "platform/qt/LinkChanges.h"
#include "platform/qt/NetworkPaths.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QMetaObject>
#include <QObject>
#include <functional>
#include <optional>
#include <utility>

namespace sonvale::platform::qt {

namespace {

constexpr int answerMilliseconds = 2000;

/// Reports a path when it is another than the one before, from a later turn of the thread's event loop, so
/// that what changes together is one report.
class Reports final {
public:
    Reports(std::function<NetworkPath()> read, std::function<void(const NetworkPath&)> handler)
        : read_(std::move(read))
        , handler_(std::move(handler)) {}

    void changed() {
        if (std::exchange(isDue_, true))
            return;
        QMetaObject::invokeMethod(&receiver, [this] { report(); }, Qt::QueuedConnection);
    }

    QObject receiver;

private:
    void report() {
        isDue_ = false;
        if (const auto path = read_(); last_ != path) {
            last_ = path;
            handler_(path);
        }
    }

    const std::function<NetworkPath()> read_;
    const std::function<void(const NetworkPath&)> handler_;
    bool isDue_ = false;
    std::optional<NetworkPath> last_;
};

class SystemBus final {
public:
    SystemBus() = default;
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;
    ~SystemBus() { QDBusConnection::disconnectFromBus(name_); }

    const QDBusConnection& connection() const { return connection_; }

private:
    const QString name_ = QStringLiteral("connectivity");
    const QDBusConnection connection_ = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name_);
};

/// Qt waits for NetworkManager in a way that cannot be cut short, so one that does not answer is not for Qt.
/// A wait here ends with the thread.
bool networkManagerAnswers() {
    // A connection of its own: the system bus of the process would keep a question that nobody answers.
    const SystemBus bus;
    if (!bus.connection().isConnected())
        return false;
    const auto service = QStringLiteral("org.freedesktop.NetworkManager");
    auto question = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/NetworkManager"),
                                                   QStringLiteral("org.freedesktop.DBus.Properties"),
                                                   QStringLiteral("Get"));
    question << service << QStringLiteral("State");
    question.setAutoStartService(false);
    const QDBusPendingCallWatcher answer(bus.connection().asyncCall(question, answerMilliseconds));
    QEventLoop loop;
    QObject::connect(&answer, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return answer.isFinished() && !answer.isError();
}

/// Null when there is no service that Qt knows how to ask.
QNetworkInformation* networkInformation() {
    using Information = QNetworkInformation;
    if (!networkManagerAnswers() ||
        !Information::loadBackendByFeatures(Information::Feature::Reachability |
                                            Information::Feature::TransportMedium))
        return nullptr;
    auto* information = Information::instance();
    return information->thread() == QThread::currentThread() ? information : nullptr;
}

void followInformation(QNetworkInformation& information, std::function<void(const NetworkPath&)> handler) {
    Reports reports([&information] { return pathOf(information); }, std::move(handler));
    QObject::connect(&information, &QNetworkInformation::reachabilityChanged, &reports.receiver,
                     [&reports] { reports.changed(); });
    QObject::connect(&information, &QNetworkInformation::transportMediumChanged, &reports.receiver,
                     [&reports] { reports.changed(); });
    // NetworkManager does not tell Qt of another address on the same kind of link.
    const LinkChanges changes([&reports] { reports.changed(); });
    reports.changed();
    QEventLoop().exec();
    // The application object destroys it at its end, on the main thread.
    information.moveToThread(QCoreApplication::instance()->thread());
}

void followInterfaces(std::function<void(const NetworkPath&)> handler) {
    Reports reports([] { return pathOf(QNetworkInterface::allInterfaces()); }, std::move(handler));
    const LinkChanges changes([&reports] { reports.changed(); });
    reports.changed();
    QEventLoop().exec();
}

} // namespace

QtPathMonitor::~QtPathMonitor() {
    cancel();
}

void QtPathMonitor::cancel() {
    if (!thread_)
        return;
    thread_->quit();
    thread_->wait();
    thread_.reset();
}

void QtPathMonitor::start(std::function<void(const NetworkPath&)> handler) {
    thread_.reset(QThread::create([handler = std::move(handler)] {
        if (auto* information = networkInformation())
            followInformation(*information, handler);
        else
            followInterfaces(handler);
    }));
    thread_->setObjectName(QStringLiteral("connectivity"));
    thread_->start();
}

} // namespace sonvale::platform::qt
