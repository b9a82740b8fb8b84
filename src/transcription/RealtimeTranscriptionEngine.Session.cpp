#include "transcription/RealtimeTranscriptionEngine.h"

#include "base/Text.h"
#include "base/Wipe.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

// Opens a session, with a recording or before it, and closes it.

namespace sonvale::transcription {

namespace {

constexpr double tokenTimeout = 10;
constexpr double handshakeTimeout = 60;
/// Seconds that the machine must have slept. A shorter time is the inaccuracy of two clock readings.
constexpr double minSleep = 0.5;

} // namespace

// Opening a session.

runtime::Task<> RealtimeTranscriptionEngine::startSession(platform::AudioFormat inputFormat) {
    return runtime::runOn(parts_.pool, open(shared_from_this(), inputFormat));
}

bool RealtimeTranscriptionEngine::hasReadySession() const {
    const auto language = parts_.language();
    const std::lock_guard lock(accumulationLock_);
    return sessionReady_ && webSocketTask_ && sessionLanguage_ == language &&
           parts_.clock.secondsAsleep() - sleptAtOpening_ < minSleep;
}

runtime::Task<> RealtimeTranscriptionEngine::open(Self self, platform::AudioFormat inputFormat) {
    const double startTime = self->parts_.clock.now();
    if (self->hasReadySession()) {
        self->clearPreWarmState();
        self->logger_.info("RealtimeSTT: Reusing pre-warmed session");
        base::perfLog("WebSocket session start: 0ms (reused: true)");
        co_return;
    }

    const auto session = self->beginSession();
    const auto token = co_await self->parts_.tokenProvider();
    if (!token || token->empty()) {
        self->logger_.error("RealtimeSTT: Cannot start session — auth token is missing");
        throw TranscriptionError::apiKeyMissing();
    }
    self->requireCurrent(session);
    self->closePreviousSession();

    auto bearer = *token;
    if (self->parts_.addresses.useProxy())
        bearer = co_await self->fetchEphemeralToken(bearer);

    const auto socket = self->connect(session, bearer, inputFormat);
    auto language = self->parts_.language();
    co_await socket->send(sessionUpdateFrame(language));

    self->becomeReady(session, socket, std::move(language));
    self->flushPreHandshake();
    base::perfLog(fmt::format("WebSocket session start: {}ms (reused: false)",
                              runtime::millisecondsSince(self->parts_.clock, startTime)));
    self->logger_.info("RealtimeSTT: Session started");
}

std::uint64_t RealtimeTranscriptionEngine::beginSession() {
    const std::lock_guard lock(accumulationLock_);
    // Audio that is already captured is kept for the new session.
    sessionReady_ = false;
    return ++session_;
}

void RealtimeTranscriptionEngine::requireCurrent(std::uint64_t session) const {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        throw runtime::CancellationError();
}

void RealtimeTranscriptionEngine::closePreviousSession() {
    runtime::TaskHandle<> receiveTask;
    Socket socket;
    std::shared_ptr<platform::UrlSession> urlSession;
    {
        const std::lock_guard lock(accumulationLock_);
        receiveTask = std::exchange(receiveTask_, {});
        socket = std::exchange(webSocketTask_, nullptr);
        urlSession = std::exchange(urlSession_, nullptr);
    }
    receiveTask.cancel();
    transcript_.resolveContinuation(std::make_exception_ptr(runtime::CancellationError()));
    if (socket)
        socket->cancel(platform::WebSocketTask::goingAway);
    if (urlSession)
        urlSession->invalidateAndCancel();
}

runtime::Task<std::string> RealtimeTranscriptionEngine::fetchEphemeralToken(std::string authToken) {
    const double startTime = parts_.clock.now();
    auto request = parts_.addresses.backendPost("api/realtime/session", authToken, "application/json");
    request.timeoutSeconds = tokenTimeout;

    const auto urlSession = parts_.urlSessions.makeEphemeral();
    const auto response = co_await urlSession->data(std::move(request));
    urlSession->invalidateAndCancel();
    if (response.statusCode)
        base::perfLog(fmt::format("Ephemeral token: {}ms (HTTP {})",
                                  runtime::millisecondsSince(parts_.clock, startTime), *response.statusCode));

    auto token = ephemeralTokenFrom(response);
    logger_.info("RealtimeSTT: Ephemeral token obtained (length {})", base::characterCount(token));
    co_return token;
}

RealtimeTranscriptionEngine::Socket
RealtimeTranscriptionEngine::connect(std::uint64_t session, const std::string& token,
                                     const platform::AudioFormat& inputFormat) {
    requireCurrent(session);
    platform::UrlRequest request;
    request.url = parts_.addresses.serviceSocketURL("/v1/realtime");
    request.timeoutSeconds = handshakeTimeout;
    request.headers = {{"Authorization", "Bearer " + token}};

    const auto urlSession = parts_.urlSessions.makeEphemeral();
    const auto socket = urlSession->webSocketTask(std::move(request));
    {
        const std::lock_guard lock(accumulationLock_);
        // Another start or a cancel takes precedence. This call must not replace its socket.
        if (session_ != session)
            throw runtime::CancellationError();
        urlSession_ = urlSession;
        webSocketTask_ = socket;
    }
    socket->resume();
    logger_.info("RealtimeSTT: WebSocket connecting (input: {:f} Hz, {} ch)", inputFormat.sampleRate,
                 inputFormat.channelCount);
    return socket;
}

void RealtimeTranscriptionEngine::becomeReady(std::uint64_t session, const Socket& socket,
                                              std::optional<std::string> language) {
    requireCurrent(session);
    {
        const std::lock_guard lock(pendingSendLock_);
        pendingSendTasks_.clear();
    }
    transcript_.forgetSession();
    sessionDroppedUnexpectedly_ = false;
    audioWasSentInSession_ = false;

    const auto receiveTask = runtime::spawn(parts_.pool, receive(weak_from_this(), socket));
    bool isCurrent = false;
    {
        const std::lock_guard lock(accumulationLock_);
        isCurrent = session_ == session;
        if (isCurrent) {
            receiveTask_ = receiveTask;
            sessionOpenedAt_ = parts_.clock.now();
            sleptAtOpening_ = parts_.clock.secondsAsleep();
            sessionReady_ = true;
            sessionLanguage_ = std::move(language);
        }
    }
    if (!isCurrent) {
        receiveTask.cancel();
        throw runtime::CancellationError();
    }
}

// Closing a session.

void RealtimeTranscriptionEngine::cancelSession() {
    logLifecycle("");
    logger_.info("RealtimeSTT: Cancelling session");

    runtime::TaskHandle<> receiveTask;
    runtime::TaskHandle<> refreshTask;
    Socket socket;
    std::shared_ptr<platform::UrlSession> urlSession;
    std::shared_ptr<Commit> commit;
    {
        const std::lock_guard lock(accumulationLock_);
        ++session_;
        commit = std::exchange(commit_, nullptr);
        receiveTask = std::exchange(receiveTask_, {});
        refreshTask = std::exchange(preWarmRefreshTask_, {});
        socket = std::exchange(webSocketTask_, nullptr);
        urlSession = std::exchange(urlSession_, nullptr);
    }
    receiveTask.cancel();
    refreshTask.cancel();
    if (socket)
        socket->cancel(platform::WebSocketTask::goingAway);
    if (urlSession)
        urlSession->invalidateAndCancel();
    {
        const std::lock_guard lock(accumulationLock_);
        sessionReady_ = false;
        base::wipe(accumulatedPCM_);
    }
    {
        const std::lock_guard lock(pendingSendLock_);
        pendingSendTasks_.clear();
    }
    transcript_.forgetSession();
    sessionDroppedUnexpectedly_ = false;
    transcript_.resolveContinuation(std::make_exception_ptr(runtime::CancellationError()));
    if (commit)
        commit->sent.fail(std::make_exception_ptr(runtime::CancellationError()));
}

void RealtimeTranscriptionEngine::closeReadySession() {
    {
        const std::lock_guard lock(accumulationLock_);
        if (!sessionReady_ || !webSocketTask_)
            return;
    }
    logger_.info("RealtimeSTT: Closing an idle session whose connection may be lost");
    cancelSession();
}

// Pre-warming.

runtime::Task<> RealtimeTranscriptionEngine::preWarm(platform::AudioFormat inputFormat) {
    return runtime::runOn(parts_.pool, openAhead(shared_from_this(), inputFormat));
}

runtime::Task<> RealtimeTranscriptionEngine::openAhead(Self self, platform::AudioFormat inputFormat) {
    if (self->hasReadySession()) {
        self->logger_.info("RealtimeSTT: Pre-warm skipped — session already active");
        co_return;
    }
    {
        const std::lock_guard lock(self->accumulationLock_);
        self->cachedInputFormat_ = inputFormat;
    }
    const double startTime = self->parts_.clock.now();
    std::optional<std::string> failure;
    try {
        co_await open(self, inputFormat);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const auto elapsed = runtime::millisecondsSince(self->parts_.clock, startTime);
    if (failure) {
        base::perfLog(fmt::format("Pre-warm session: {}ms (failed: {})", elapsed, *failure));
        self->logger_.error("RealtimeSTT: Pre-warm failed — {}", *failure);
        co_return;
    }
    base::perfLog(fmt::format("Pre-warm session: {}ms (success)", elapsed));
    self->logger_.info("RealtimeSTT: Pre-warm session established");
    self->startRefreshTimer();
}

void RealtimeTranscriptionEngine::startRefreshTimer() {
    const auto task = runtime::spawn(parts_.pool, closeLater(weak_from_this(), &parts_.clock));
    runtime::TaskHandle<> unneeded = task;
    {
        const std::lock_guard lock(accumulationLock_);
        // A recording may have started to use the session as soon as it was open. Then the timer must not
        // close it.
        if (cachedInputFormat_)
            unneeded = std::exchange(preWarmRefreshTask_, task);
    }
    unneeded.cancel();
}

runtime::Task<> RealtimeTranscriptionEngine::closeLater(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, preWarmLifetime) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (!self || co_await runtime::isCurrentTaskCancelled())
        co_return;
    self->logger_.info("RealtimeSTT: Pre-warm token expiring — refreshing session");
    // This also cancels the timer, which is this task: an unused session is closed and not opened again.
    self->cancelSession();
    if (co_await runtime::isCurrentTaskCancelled())
        co_return;
    std::optional<platform::AudioFormat> format;
    {
        const std::lock_guard lock(self->accumulationLock_);
        format = self->cachedInputFormat_;
    }
    if (format)
        co_await openAhead(self, *format);
}

void RealtimeTranscriptionEngine::clearPreWarmState() {
    runtime::TaskHandle<> refreshTask;
    {
        const std::lock_guard lock(accumulationLock_);
        refreshTask = std::exchange(preWarmRefreshTask_, {});
        cachedInputFormat_.reset();
    }
    refreshTask.cancel();
}

} // namespace sonvale::transcription
