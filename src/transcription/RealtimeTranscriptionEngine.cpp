#include "transcription/RealtimeTranscriptionEngine.h"

#include "base/Base64.h"
#include "base/Text.h"

#include <strings.h>

#include <utility>

namespace sonvale::transcription {

using platform::WebSocketMessage;

namespace {

constexpr double tokenTimeout = 10;
constexpr double handshakeTimeout = 60;

void wipe(std::string& bytes) {
    explicit_bzero(bytes.data(), bytes.size());
    bytes.clear();
}

WebSocketMessage frame(const base::Json& object) {
    return {WebSocketMessage::Kind::text, base::jsonText(object)};
}

WebSocketMessage appendFrame(const std::string& pcm) {
    return frame({{"type", "input_audio_buffer.append"}, {"audio", base::encodeBase64(pcm)}});
}

UnderlyingError underlying(const std::exception& error) {
    if (const auto* urlError = dynamic_cast<const platform::UrlError*>(&error))
        return {platform::UrlError::domain, static_cast<int>(urlError->code()), urlError->what()};
    return {"RealtimeSTT", -1, error.what()};
}

} // namespace

base::Json sessionUpdateFrame(const std::optional<std::string>& language) {
    base::Json transcription = {{"model", "gpt-4o-mini-transcribe"}};
    if (language && *language != "auto")
        transcription["language"] = *language;
    const base::Json input = {
        {"format", {{"type", "audio/pcm"}, {"rate", 24000}}},
        {"noise_reduction", {{"type", "near_field"}}},
        {"transcription", std::move(transcription)},
        {"turn_detection", nullptr},
    };
    return {{"type", "session.update"},
            {"session", {{"type", "transcription"}, {"audio", {{"input", input}}}}}};
}

std::string ephemeralTokenFrom(const platform::UrlResponse& response) {
    static const base::Logger logger("RealtimeSTT");
    if (!response.statusCode) {
        logger.error("RealtimeSTT: Ephemeral token request returned non-HTTP response");
        throw TranscriptionError::invalidResponse();
    }
    const int status = *response.statusCode;
    if (status == 426) {
        logger.error("RealtimeSTT: App version too old, upgrade required");
        throw TranscriptionError::upgradeRequired();
    }
    if (status < 200 || status > 299) {
        logger.error("RealtimeSTT: Ephemeral token request failed (HTTP {})", status);
        throw TranscriptionError::apiKeyMissing();
    }
    const auto body = base::parseJson(response.body);
    if (!body || !body->is_object()) {
        logger.error("RealtimeSTT: Ephemeral token response is not valid JSON");
        throw TranscriptionError::invalidResponse();
    }
    auto token = base::jsonString(*body, "value");
    if (!token || token->empty()) {
        const auto* secret = base::jsonMember(*body, "client_secret");
        token = secret ? base::jsonString(*secret, "value") : std::nullopt;
    }
    if (!token || token->empty()) {
        logger.error("RealtimeSTT: Ephemeral token response missing token value");
        throw TranscriptionError::invalidResponse();
    }
    return *token;
}

RealtimeTranscriptionEngine::RealtimeTranscriptionEngine(Parts parts)
    : parts_(std::move(parts))
    , pcmResampler_(parts_.converters)
    , transcript_(parts_.clock) {}

RealtimeTranscriptionEngine::~RealtimeTranscriptionEngine() {
    wipe(accumulatedPCM_);
    receiveTask_.cancel();
    preWarmRefreshTask_.cancel();
    if (webSocketTask_)
        webSocketTask_->cancel(platform::WebSocketTask::goingAway);
    if (urlSession_)
        urlSession_->invalidateAndCancel();
}

runtime::Task<std::string> RealtimeTranscriptionEngine::transcribe(std::filesystem::path /*audioFileURL*/,
                                                                   std::optional<std::string> /*language*/) {
    throw TranscriptionError::engineUnavailable();
    co_return "";
}

// Opening a session.

runtime::Task<> RealtimeTranscriptionEngine::startSession(platform::AudioFormat inputFormat) {
    return runtime::runOn(parts_.pool, open(shared_from_this(), inputFormat));
}

bool RealtimeTranscriptionEngine::hasReadySession() const {
    const std::lock_guard lock(accumulationLock_);
    return sessionReady_ && webSocketTask_;
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
    self->takeDownFormerSession();

    auto bearer = *token;
    if (self->parts_.addresses.useProxy())
        bearer = co_await self->fetchEphemeralToken(bearer);

    const auto socket = self->connect(session, bearer, inputFormat);
    co_await socket->send(frame(sessionUpdateFrame(self->parts_.language())));

    self->becomeReady(session, socket);
    self->flushPreHandshake();
    base::perfLog(fmt::format("WebSocket session start: {}ms (reused: false)",
                              runtime::millisecondsSince(self->parts_.clock, startTime)));
    self->logger_.info("RealtimeSTT: Session started");
}

std::uint64_t RealtimeTranscriptionEngine::beginSession() {
    const std::lock_guard lock(accumulationLock_);
    // What was spoken already stays, for the session that is to come.
    sessionReady_ = false;
    return ++session_;
}

void RealtimeTranscriptionEngine::requireCurrent(std::uint64_t session) const {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        throw runtime::CancellationError();
}

void RealtimeTranscriptionEngine::takeDownFormerSession() {
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
    platform::UrlRequest request;
    request.method = "POST";
    request.url = parts_.addresses.backendURL("api/realtime/session");
    request.timeoutSeconds = tokenTimeout;
    request.headers = {{"Authorization", "Bearer " + authToken},
                       {"Content-Type", "application/json"},
                       {"X-App-Version", parts_.addresses.appVersion}};

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
        // Another start has the say now, or a cancel; its socket is not to be replaced.
        if (session_ != session)
            throw runtime::CancellationError();
        urlSession_ = urlSession;
        webSocketTask_ = socket;
    }
    socket->resume();
    logger_.info("RealtimeSTT: WebSocket connecting (input: {} Hz, {} ch)", inputFormat.sampleRate,
                 inputFormat.channelCount);
    return socket;
}

void RealtimeTranscriptionEngine::becomeReady(std::uint64_t session, const Socket& socket) {
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
            sessionReady_ = true;
        }
    }
    if (!isCurrent) {
        receiveTask.cancel();
        throw runtime::CancellationError();
    }
}

// Sending.

void RealtimeTranscriptionEngine::appendAudio(const platform::PcmBuffer& buffer) {
    auto bytes = pcmResampler_.resample(buffer);
    if (!bytes)
        return;
    {
        const std::lock_guard lock(accumulationLock_);
        accumulatedPCM_ += *bytes;
        if (!sessionReady_ || accumulatedPCM_.size() < targetChunkBytes)
            return;
        outgoing_.push_back({std::exchange(accumulatedPCM_, {}), webSocketTask_});
    }
    sendChunk();
}

void RealtimeTranscriptionEngine::flushPreHandshake() {
    std::size_t chunks = 0;
    {
        const std::lock_guard lock(accumulationLock_);
        chunks = accumulatedPCM_.size() / targetChunkBytes;
        if (chunks == 0)
            return;
        for (std::size_t i = 0; i < chunks; ++i)
            outgoing_.push_back(
                {accumulatedPCM_.substr(i * targetChunkBytes, targetChunkBytes), webSocketTask_});
        auto tail = accumulatedPCM_.substr(chunks * targetChunkBytes);
        wipe(accumulatedPCM_);
        accumulatedPCM_ = std::move(tail);
    }
    logger_.info("RealtimeSTT: Flushing {} pre-handshake bytes ({} chunk(s))", chunks * targetChunkBytes,
                 chunks);
    for (std::size_t i = 0; i < chunks; ++i)
        sendChunk();
}

/// Starts the sending of the next outgoing chunk. Which chunk that is is settled under the lock, so that two
/// callers at once cannot change the order of the audio.
void RealtimeTranscriptionEngine::sendChunk() {
    audioWasSentInSession_ = true;
    const auto task = runtime::spawn(parts_.sending, sendNextChunk(weak_from_this()));

    const std::lock_guard lock(pendingSendLock_);
    // Those that have gone out need no waiting for; a long recording would pile them up.
    while (!pendingSendTasks_.empty() && pendingSendTasks_.front().isDone())
        pendingSendTasks_.pop_front();
    pendingSendTasks_.push_back(task);
}

std::optional<RealtimeTranscriptionEngine::Chunk> RealtimeTranscriptionEngine::takeChunk() {
    const std::lock_guard lock(accumulationLock_);
    if (outgoing_.empty())
        return std::nullopt;
    auto chunk = std::move(outgoing_.front());
    outgoing_.pop_front();
    return chunk;
}

runtime::Task<> RealtimeTranscriptionEngine::sendNextChunk(WeakSelf weakSelf) {
    Socket socket;
    WebSocketMessage message;
    {
        const auto self = weakSelf.lock();
        auto chunk = self ? self->takeChunk() : std::nullopt;
        if (!chunk || !chunk->socket)
            co_return;
        message = appendFrame(chunk->pcm);
        wipe(chunk->pcm);
        socket = std::move(chunk->socket);
    }
    try {
        co_await socket->send(std::move(message));
    } catch (const std::exception& error) {
        // The session's fate is the receive loop's business.
        base::Logger("RealtimeSTT").error("RealtimeSTT: Failed to send audio chunk — {}", error.what());
    }
}

/// Sends what has gathered since the last chunk, behind the chunks that are on their way.
runtime::Task<> RealtimeTranscriptionEngine::sendRest(Self self) {
    Chunk rest;
    {
        const std::lock_guard lock(self->accumulationLock_);
        rest = {std::exchange(self->accumulatedPCM_, {}), self->webSocketTask_};
    }
    if (rest.pcm.empty())
        co_return;
    if (!rest.socket) {
        wipe(rest.pcm);
        throw TranscriptionError::engineUnavailable();
    }
    auto message = appendFrame(rest.pcm);
    wipe(rest.pcm);
    co_await rest.socket->send(std::move(message));
}

runtime::Task<> RealtimeTranscriptionEngine::sendMessage(Self self, base::Json message) {
    Socket socket;
    {
        const std::lock_guard lock(self->accumulationLock_);
        socket = self->webSocketTask_;
    }
    if (!socket) {
        self->logger_.error("RealtimeSTT: sendMessage called with no active WebSocket — session likely "
                            "failed to connect");
        throw TranscriptionError::engineUnavailable();
    }
    co_await socket->send(frame(message));
}

// Receiving.

runtime::Task<> RealtimeTranscriptionEngine::receive(WeakSelf weakSelf, Socket socket) {
    while (!co_await runtime::isCurrentTaskCancelled()) {
        {
            const auto self = weakSelf.lock();
            if (!self || self->isStale(socket))
                break;
        }
        std::optional<WebSocketMessage> message;
        std::optional<UnderlyingError> failure;
        try {
            message = co_await socket->receive();
        } catch (const std::exception& error) {
            failure = underlying(error);
        }

        const auto self = weakSelf.lock();
        if (!self)
            co_return;
        if (message) {
            if (!self->isStale(socket))
                self->transcript_.handleMessage(*message);
            continue;
        }
        self->logger_.error("RealtimeSTT: WebSocket receive error — {}", failure->localizedDescription);
        if (!self->isStale(socket)) {
            self->sessionDroppedUnexpectedly_ = true;
            self->transcript_.resolveContinuation(
                std::make_exception_ptr(TranscriptionError::networkError(*failure)));
        }
        break;
    }
    if (const auto self = weakSelf.lock())
        self->endReceiving(socket);
}

/// Whether another session has begun meanwhile, whose state is none of this socket's business.
bool RealtimeTranscriptionEngine::isStale(const Socket& socket) const {
    const std::lock_guard lock(accumulationLock_);
    return webSocketTask_ && webSocketTask_ != socket;
}

void RealtimeTranscriptionEngine::endReceiving(const Socket& socket) {
    if (!isStale(socket)) {
        {
            const std::lock_guard lock(accumulationLock_);
            sessionReady_ = false;
        }
        logLifecycle(" (receive loop exit)");
    }
    logger_.info("RealtimeSTT: Receive loop exited");
}

void RealtimeTranscriptionEngine::logLifecycle(const char* occasion) {
    std::optional<double> openedAt;
    {
        const std::lock_guard lock(accumulationLock_);
        openedAt = std::exchange(sessionOpenedAt_, std::nullopt);
    }
    if (openedAt)
        logger_.info("RealtimeSTT: Session lifecycle{} — duration: {:.1f}s, audio_sent: {}", occasion,
                     parts_.clock.now() - *openedAt, audioWasSentInSession_.exchange(false));
}

// The end of an utterance.

runtime::Task<std::string> RealtimeTranscriptionEngine::finalizeStreamingTranscription() {
    return runtime::runOn(parts_.pool, finalize(shared_from_this()));
}

runtime::Task<std::string> RealtimeTranscriptionEngine::finalize(Self self) {
    self->transcript_.beginUtterance();

    static const UnderlyingError droppedSession{"RealtimeSTT", -1,
                                                "WebSocket session ended during recording"};
    if (self->sessionDroppedUnexpectedly_) {
        self->logger_.error("RealtimeSTT: Session dropped during recording — cannot finalize");
        throw TranscriptionError::networkError(droppedSession);
    }

    std::deque<runtime::TaskHandle<>> pending;
    {
        const std::lock_guard lock(self->pendingSendLock_);
        pending = std::exchange(self->pendingSendTasks_, {});
    }
    for (const auto& task : pending)
        co_await task.value();

    co_await runtime::runOn(self->parts_.sending, sendRest(self));
    self->transcript_.expectOutcome();
    co_await sendMessage(self, {{"type", "input_audio_buffer.commit"}});
    self->logger_.info("RealtimeSTT: Buffer committed — awaiting transcript");

    std::function<void(runtime::Continuation<std::string>)> wait =
        [self](runtime::Continuation<std::string> continuation) {
            self->transcript_.installContinuation(std::move(continuation));
            runtime::spawn(self->parts_.pool, watchWait(self, &self->parts_.clock));
            // The loss of the socket may have come while nobody waited.
            if (self->sessionDroppedUnexpectedly_)
                self->transcript_.resolveContinuation(
                    std::make_exception_ptr(TranscriptionError::networkError(droppedSession)));
        };
    co_return co_await runtime::suspend<std::string>(std::move(wait));
}

runtime::Task<> RealtimeTranscriptionEngine::watchWait(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, transcriptionTimeout) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (self && self->transcript_.resolveContinuation(std::make_exception_ptr(TranscriptionError::timeout())))
        self->logger_.error("RealtimeSTT: Transcript timed out after 10 s");
}

void RealtimeTranscriptionEngine::resetForNextUtterance() {
    transcript_.forgetUtterance();
    {
        const std::lock_guard lock(accumulationLock_);
        wipe(accumulatedPCM_);
    }
    {
        const std::lock_guard lock(pendingSendLock_);
        pendingSendTasks_.clear();
    }
    sessionDroppedUnexpectedly_ = false;
    logger_.info("RealtimeSTT: Reset for next utterance (session still active)");
}

void RealtimeTranscriptionEngine::cancelSession() {
    logLifecycle("");
    logger_.info("RealtimeSTT: Cancelling session");

    runtime::TaskHandle<> receiveTask;
    runtime::TaskHandle<> refreshTask;
    Socket socket;
    std::shared_ptr<platform::UrlSession> urlSession;
    {
        const std::lock_guard lock(accumulationLock_);
        ++session_;
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
        wipe(accumulatedPCM_);
    }
    {
        const std::lock_guard lock(pendingSendLock_);
        pendingSendTasks_.clear();
    }
    transcript_.forgetSession();
    sessionDroppedUnexpectedly_ = false;
    transcript_.resolveContinuation(std::make_exception_ptr(runtime::CancellationError()));
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
    runtime::TaskHandle<> needless = task;
    {
        const std::lock_guard lock(accumulationLock_);
        // Somebody may have taken the session over the moment it stood; it is not to be closed then.
        if (cachedInputFormat_)
            needless = std::exchange(preWarmRefreshTask_, task);
    }
    needless.cancel();
}

runtime::Task<> RealtimeTranscriptionEngine::closeLater(WeakSelf weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, preWarmLifetime) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (!self || co_await runtime::isCurrentTaskCancelled())
        co_return;
    self->logger_.info("RealtimeSTT: Pre-warm token expiring — refreshing session");
    // This cancels the timer too, which is this task: an unused session is closed and not opened again.
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
