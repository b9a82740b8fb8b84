#include "transcription/RealtimeSessionOpener.h"

#include "base/Text.h"
#include "transcription/RealtimeMessages.h"

#include <utility>

namespace sonvale::transcription {

namespace {

constexpr double tokenTimeout = 10;
constexpr double handshakeTimeout = 60;

} // namespace

RealtimeSessionOpener::RealtimeSessionOpener(RealtimeParts parts,
                                             std::shared_ptr<RealtimeConnection> connection,
                                             std::shared_ptr<RealtimeAudioSender> sender,
                                             std::shared_ptr<RealtimeReceiver> receiver,
                                             std::shared_ptr<RealtimeTranscript> transcript)
    : parts_(std::move(parts))
    , connection_(std::move(connection))
    , sender_(std::move(sender))
    , receiver_(std::move(receiver))
    , transcript_(std::move(transcript)) {}

runtime::Task<> RealtimeSessionOpener::open(platform::AudioFormat inputFormat) {
    const double startTime = parts_.clock.now();
    const auto session = connection_->begin();
    const auto token = co_await parts_.tokenProvider();
    if (!token || token->empty()) {
        logger_.error("RealtimeSTT: Cannot start session — auth token is missing");
        throw TranscriptionError::apiKeyMissing();
    }
    connection_->requireCurrent(session);
    closePreviousSession();

    auto bearer = *token;
    if (parts_.addresses.useProxy())
        bearer = co_await fetchEphemeralToken(bearer);

    const auto socket = connect(session, bearer, inputFormat);
    auto language = parts_.language();
    co_await socket->send(sessionUpdateFrame(language));

    becomeReady(session, socket, std::move(language));
    sender_->flushPreHandshake();
    base::perfLog(fmt::format("WebSocket session start: {}ms (reused: false)",
                              runtime::millisecondsSince(parts_.clock, startTime)));
    logger_.info("RealtimeSTT: Session started");
}

void RealtimeSessionOpener::closePreviousSession() {
    const auto line = connection_->detach();
    line.receiveTask.cancel();
    transcript_->resolveContinuation(std::make_exception_ptr(runtime::CancellationError()));
    line.close();
}

runtime::Task<std::string> RealtimeSessionOpener::fetchEphemeralToken(std::string authToken) {
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

RealtimeSessionOpener::Socket RealtimeSessionOpener::connect(std::uint64_t session, const std::string& token,
                                                             const platform::AudioFormat& inputFormat) {
    connection_->requireCurrent(session);
    platform::UrlRequest request;
    request.url = parts_.addresses.serviceSocketURL("/v1/realtime");
    request.timeoutSeconds = handshakeTimeout;
    request.headers = {{"Authorization", "Bearer " + token}};

    const auto urlSession = parts_.urlSessions.makeEphemeral();
    auto socket = urlSession->webSocketTask(std::move(request));
    connection_->attach(session, socket, urlSession);
    socket->resume();
    logger_.info("RealtimeSTT: WebSocket connecting (input: {:f} Hz, {} ch)", inputFormat.sampleRate,
                 inputFormat.channelCount);
    return socket;
}

void RealtimeSessionOpener::becomeReady(std::uint64_t session, const Socket& socket,
                                        std::optional<std::string> language) {
    connection_->requireCurrent(session);
    sender_->forgetPending();
    transcript_->forgetSession();
    connection_->forgetDrop();
    sender_->takeAudioWasSent();

    const auto receiveTask = receiver_->start(socket);
    if (!connection_->becomeReady(session, receiveTask, std::move(language))) {
        receiveTask.cancel();
        throw runtime::CancellationError();
    }
}

} // namespace sonvale::transcription
