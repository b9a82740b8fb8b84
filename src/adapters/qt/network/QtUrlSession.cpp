#include "adapters/qt/network/QtUrlSession.h"

#include "adapters/qt/network/NetworkErrors.h"
#include "adapters/qt/network/QtUrlLines.h"
#include "adapters/qt/network/QtWebSocketTask.h"
#include "adapters/qt/network/SessionHandle.h"

#include <ctime>

namespace sonvale::adapters::qt {

namespace {

using Caller = runtime::Continuation<platform::UrlResponse>;

runtime::Task<platform::UrlResponse> dataOf(std::shared_ptr<SessionHandle> session,
                                            platform::UrlRequest request) {
    if (co_await runtime::isCurrentTaskCancelled())
        throw urlError(platform::UrlError::Code::cancelled);

    const auto id = session->thread().makeId();
    std::function<void(Caller)> start = [session, id, request = std::move(request)](const Caller& caller) {
        const bool isPosted =
            session->thread().post([sessionId = session->id(), id, request, caller](Network& network) {
                if (auto* running = network.session(sessionId))
                    running->startCall(id, request, caller);
                else
                    caller.fail(urlFailure(platform::UrlError::Code::cancelled));
            });
        if (!isPosted)
            caller.fail(urlFailure(platform::UrlError::Code::cancelled));
    };
    // The caller gets its error when nothing reads its body any more.
    std::function<void()> onCancel = [session, id] {
        session->thread().post([sessionId = session->id(), id](Network& network) {
            if (auto* running = network.session(sessionId))
                running->cancelCall(id);
        });
    };
    co_return co_await runtime::suspend<platform::UrlResponse>(std::move(start), std::move(onCancel));
}

class QtUrlSession final : public platform::UrlSession {
public:
    explicit QtUrlSession(std::shared_ptr<NetworkThread> thread)
        : handle_(std::make_shared<SessionHandle>(std::move(thread))) {}

    runtime::Task<platform::UrlResponse> data(platform::UrlRequest request) override {
        return dataOf(handle_, std::move(request));
    }

    runtime::Task<std::shared_ptr<platform::UrlLines>> lines(platform::UrlRequest request) override {
        return QtUrlLines::open(handle_, std::move(request));
    }

    std::shared_ptr<platform::WebSocketTask> webSocketTask(platform::UrlRequest request) override {
        return std::make_shared<QtWebSocketTask>(handle_, std::move(request));
    }

    void invalidateAndCancel() override { handle_->invalidate(); }

private:
    const std::shared_ptr<SessionHandle> handle_;
};

} // namespace

QtUrlSessions::QtUrlSessions(const std::function<double()>& uptime)
    : thread_(std::make_shared<NetworkThread>(qEnvironmentVariable("SSL_CERT_FILE"), uptime)) {}

double QtUrlSessions::secondsSinceBoot() {
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

QtUrlSessions::~QtUrlSessions() {
    thread_->end();
}

std::shared_ptr<platform::UrlSession> QtUrlSessions::makeEphemeral() {
    return std::make_shared<QtUrlSession>(thread_);
}

} // namespace sonvale::adapters::qt
