#include "adapters/qt/network/QtUrlLines.h"

#include "adapters/qt/network/NetworkErrors.h"

#include <functional>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

using Line = std::optional<std::string>;

/// Runs `work` with the session on the network thread, and fails `waiting` if the session has ended.
template <class T>
void inSession(const SessionHandle& session, const runtime::Continuation<T>& waiting,
               std::function<void(NetworkSession&)> work) {
    const bool isPosted =
        session.thread().post([sessionId = session.id(), waiting, work = std::move(work)](Network& network) {
            if (auto* running = network.session(sessionId))
                work(*running);
            else
                waiting.fail(urlFailure(platform::UrlError::Code::cancelled));
        });
    if (!isPosted)
        waiting.fail(urlFailure(platform::UrlError::Code::cancelled));
}

void drop(const SessionHandle& session, NetworkId id) {
    session.thread().post([sessionId = session.id(), id](Network& network) {
        if (auto* running = network.session(sessionId))
            running->dropLines(id);
    });
}

runtime::Task<Line> nextOf(std::shared_ptr<SessionHandle> session, NetworkId id) {
    if (co_await runtime::isCurrentTaskCancelled()) {
        drop(*session, id);
        throw urlError(platform::UrlError::Code::cancelled);
    }
    std::function<void(runtime::Continuation<Line>)> start = [session, id](const auto& reader) {
        inSession(*session, reader, [id, reader](NetworkSession& running) {
            if (auto* lines = running.lines(id))
                lines->next(reader);
            else
                reader.fail(urlFailure(platform::UrlError::Code::cancelled));
        });
    };
    // The destroyed request fails the reader.
    std::function<void()> onCancel = [session, id] { drop(*session, id); };
    co_return co_await runtime::suspend<Line>(std::move(start), std::move(onCancel));
}

} // namespace

QtUrlLines::QtUrlLines(std::shared_ptr<SessionHandle> session)
    : session_(std::move(session))
    , id_(session_->thread().makeId()) {}

QtUrlLines::~QtUrlLines() {
    drop(*session_, id_);
}

runtime::Task<std::shared_ptr<platform::UrlLines>> QtUrlLines::open(std::shared_ptr<SessionHandle> session,
                                                                    platform::UrlRequest request) {
    if (co_await runtime::isCurrentTaskCancelled())
        throw urlError(platform::UrlError::Code::cancelled);

    const auto self = std::make_shared<QtUrlLines>(session);
    const auto id = self->id_;
    std::function<void(runtime::Continuation<platform::UrlResponse>)> start =
        [session, id, request = std::move(request)](const auto& caller) {
            inSession(*session, caller, [id, request, caller](NetworkSession& running) {
                running.startLines(id, request, caller);
            });
        };
    // The destroyed request fails the caller, at a time when nothing reads the request's body any more.
    std::function<void()> onCancel = [session, id] { drop(*session, id); };
    self->head_ = co_await runtime::suspend<platform::UrlResponse>(std::move(start), std::move(onCancel));
    co_return self;
}

runtime::Task<Line> QtUrlLines::next() {
    return nextOf(session_, id_);
}

} // namespace sonvale::adapters::qt
