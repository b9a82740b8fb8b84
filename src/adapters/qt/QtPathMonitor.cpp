#include "adapters/qt/QtPathMonitor.h"

#include "adapters/qt/LinkChanges.h"
#include "adapters/qt/NetworkManagerLink.h"
#include "adapters/qt/NetworkPaths.h"

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

namespace sonvale::adapters::qt {

namespace {

constexpr int answerMilliseconds = 2000;

/// Reports a path if it differs from the one before, from a later turn of the thread's event loop, so that
/// simultaneous changes are one report.
class Reports final {
public:
    Reports(std::function<platform::NetworkPath()> read,
            std::function<void(const platform::NetworkPath&)> handler)
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

    const std::function<platform::NetworkPath()> read_;
    const std::function<void(const platform::NetworkPath&)> handler_;
    bool isDue_ = false;
    std::optional<platform::NetworkPath> last_;
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

/// Returns whether a NetworkManager answers. The end of the thread ends the wait.
bool networkManagerAnswers(const SystemBus& bus) {
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

void followNetworkManager(const SystemBus& bus, std::function<void(const platform::NetworkPath&)> handler) {
    std::optional<NetworkManagerLink> link;
    const auto read = [&link] {
        auto path = link->path();
        if (path.isSatisfied)
            path.addresses = addressesOf(QNetworkInterface::allInterfaces());
        return path;
    };
    bool isKnown = false;
    Reports reports(read, std::move(handler));
    link.emplace(bus.connection(), [&] {
        isKnown = true;
        reports.changed();
    });
    // NetworkManager does not report a new address on the same kind of link.
    const LinkChanges changes([&] {
        if (isKnown)
            reports.changed();
    });
    QEventLoop().exec();
}

void followInterfaces(std::function<void(const platform::NetworkPath&)> handler) {
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

void QtPathMonitor::start(std::function<void(const platform::NetworkPath&)> handler) {
    thread_.reset(QThread::create([handler = std::move(handler)] {
        // A private connection of this thread: on the shared system bus an unanswered call stays pending
        // after the end of the monitor.
        const SystemBus bus;
        if (networkManagerAnswers(bus))
            followNetworkManager(bus, handler);
        else
            followInterfaces(handler);
    }));
    thread_->setObjectName(QStringLiteral("connectivity"));
    thread_->start();
}

} // namespace sonvale::adapters::qt
