#include "adapters/qt/network/NetworkThread.h"

#include <QEventLoop>
#include <QMetaObject>
#include <future>

namespace sonvale::adapters::qt {

NetworkThread::NetworkThread(const QString& authorities, const KeptConnections::Uptime& uptime) {
    // Shared, because the thread that sets it may still use it when the other one has seen the value.
    const auto started = std::make_shared<std::promise<void>>();
    thread_.reset(QThread::create([this, authorities, uptime, started] {
        run(authorities, uptime, [started] { started->set_value(); });
    }));
    thread_->setObjectName(QStringLiteral("network"));
    thread_->start();
    started->get_future().wait();
}

NetworkThread::~NetworkThread() {
    end();
}

void NetworkThread::run(const QString& authorities, const KeptConnections::Uptime& uptime,
                        const std::function<void()>& started) {
    Network network(authorities, uptime);
    QObject receiver;
    QEventLoop loop;
    network_ = &network;
    {
        const std::lock_guard lock(mutex_);
        receiver_ = &receiver;
    }
    started();
    loop.exec();
}

bool NetworkThread::post(std::function<void(Network&)> work) {
    const std::lock_guard lock(mutex_);
    if (!receiver_)
        return false;
    QMetaObject::invokeMethod(
        receiver_, [this, work = std::move(work)] { work(*network_); }, Qt::QueuedConnection);
    return true;
}

void NetworkThread::end() {
    {
        const std::lock_guard lock(mutex_);
        if (!receiver_)
            return;
        // After all posted work: nothing can be posted any more.
        QMetaObject::invokeMethod(
            receiver_, [this] { network_->endAllSessions([this] { thread_->quit(); }); },
            Qt::QueuedConnection);
        receiver_ = nullptr;
    }
    thread_->wait();
}

} // namespace sonvale::adapters::qt
