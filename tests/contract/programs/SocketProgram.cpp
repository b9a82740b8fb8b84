#include "adapters/qt/network/QtUrlSession.h"

#include "platform/WebSocketTask.h"
#include "runtime/TaskPool.h"

#include <QCoreApplication>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace sonvale;

/// The size of a message with a tenth of a second of speech.
constexpr std::size_t messageBytes = 6500;

runtime::Task<std::string> endOf(std::shared_ptr<platform::WebSocketTask> socket) {
    try {
        for (;;)
            co_await socket->receive();
    } catch (const platform::UrlError& error) {
        co_return error.code() == platform::UrlError::Code::networkConnectionLost ? "networkConnectionLost"
                                                                                  : error.what();
    }
}

runtime::Task<> send(std::shared_ptr<platform::WebSocketTask> socket) {
    try {
        co_await socket->send({platform::WebSocketMessage::Kind::text, std::string(messageBytes, 'x')});
    } catch (const platform::UrlError&) {
        // The receiver prints the reason.
    }
}

} // namespace

/// A program that only uses a WebSocket to its argument: it sends a message every tenth of a second until the
/// socket fails, prints the reason, and ends.
int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto registry = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool(2, registry);
    adapters::qt::QtUrlSessions sessions;
    const auto session = sessions.makeEphemeral();
    platform::UrlRequest request;
    request.url = argc > 1 ? argv[1] : "";
    const auto socket = session->webSocketTask(request);
    socket->resume();
    const auto end = runtime::spawn(pool.actor(), endOf(socket));
    while (!end.isDone()) {
        runtime::spawn(pool.actor(), send(socket));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    std::cout << runtime::detail::take<std::string>(end.state()->outcome) << std::endl;
    registry->cancelAll();
    registry->waitUntilEmpty(10);
    pool.join();
}
