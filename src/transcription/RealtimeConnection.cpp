#include "transcription/RealtimeConnection.h"

#include <utility>

namespace sonvale::transcription {

namespace {

/// Seconds that the machine must have slept. A shorter time is the inaccuracy of two clock readings.
constexpr double minSleep = 0.5;

} // namespace

void RealtimeConnection::Line::close() const {
    if (socket)
        socket->cancel(platform::WebSocketTask::goingAway);
    if (urlSession)
        urlSession->invalidateAndCancel();
}

RealtimeConnection::~RealtimeConnection() {
    line_.receiveTask.cancel();
    line_.close();
}

// The session.

std::uint64_t RealtimeConnection::begin() {
    const std::lock_guard lock(accumulationLock_);
    sessionReady_ = false;
    return ++session_;
}

std::uint64_t RealtimeConnection::current() const {
    const std::lock_guard lock(accumulationLock_);
    return session_;
}

void RealtimeConnection::requireCurrent(std::uint64_t session) const {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        throw runtime::CancellationError();
}

RealtimeConnection::Line RealtimeConnection::detach() {
    const std::lock_guard lock(accumulationLock_);
    return std::exchange(line_, {});
}

void RealtimeConnection::attach(std::uint64_t session, Socket socket,
                                std::shared_ptr<platform::UrlSession> urlSession) {
    const std::lock_guard lock(accumulationLock_);
    // Another start or a cancel takes precedence. This call must not replace its socket.
    if (session_ != session)
        throw runtime::CancellationError();
    line_.urlSession = std::move(urlSession);
    line_.socket = std::move(socket);
}

bool RealtimeConnection::becomeReady(std::uint64_t session, runtime::TaskHandle<> receiveTask,
                                     std::optional<std::string> language) {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        return false;
    line_.receiveTask = std::move(receiveTask);
    sessionOpenedAt_ = clock_.now();
    sleptAtOpening_ = clock_.secondsAsleep();
    sessionReady_ = true;
    sessionLanguage_ = std::move(language);
    return true;
}

RealtimeConnection::Line RealtimeConnection::end() {
    const std::lock_guard lock(accumulationLock_);
    ++session_;
    return std::exchange(line_, {});
}

void RealtimeConnection::endAudio() {
    const std::lock_guard lock(accumulationLock_);
    sessionReady_ = false;
    audio_.wipeRest();
}

RealtimeConnection::Socket RealtimeConnection::giveUp(std::uint64_t session) {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        return nullptr;
    sessionReady_ = false;
    sessionDroppedUnexpectedly_ = true;
    return line_.socket;
}

bool RealtimeConnection::isReady(const std::optional<std::string>& language) const {
    const std::lock_guard lock(accumulationLock_);
    return sessionReady_ && line_.socket && sessionLanguage_ == language &&
           clock_.secondsAsleep() - sleptAtOpening_ < minSleep;
}

bool RealtimeConnection::isOpen() const {
    const std::lock_guard lock(accumulationLock_);
    return sessionReady_ && line_.socket;
}

RealtimeConnection::Socket RealtimeConnection::socketOf(std::uint64_t session) const {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        throw runtime::CancellationError();
    return line_.socket;
}

std::optional<double> RealtimeConnection::takeOpenedAt() {
    const std::lock_guard lock(accumulationLock_);
    return std::exchange(sessionOpenedAt_, std::nullopt);
}

// The end of its connection.

bool RealtimeConnection::isStale(const Socket& socket) const {
    const std::lock_guard lock(accumulationLock_);
    return line_.socket && line_.socket != socket;
}

bool RealtimeConnection::endReceiving(const Socket& socket) {
    const std::lock_guard lock(accumulationLock_);
    if (line_.socket && line_.socket != socket)
        return false;
    sessionReady_ = false;
    return true;
}

bool RealtimeConnection::drop(const Socket& socket) {
    const std::lock_guard lock(accumulationLock_);
    if (line_.socket && line_.socket != socket)
        return false;
    sessionDroppedUnexpectedly_ = true;
    return true;
}

bool RealtimeConnection::wasDropped() const {
    const std::lock_guard lock(accumulationLock_);
    return sessionDroppedUnexpectedly_;
}

void RealtimeConnection::forgetDrop() {
    const std::lock_guard lock(accumulationLock_);
    sessionDroppedUnexpectedly_ = false;
}

// The audio.

bool RealtimeConnection::append(base::WipedBytes& pcm) {
    const std::lock_guard lock(accumulationLock_);
    audio_.append(pcm);
    return sessionReady_ && audio_.cutRest(line_.socket);
}

std::size_t RealtimeConnection::cutWholeChunks() {
    const std::lock_guard lock(accumulationLock_);
    return audio_.cutWholeChunks(line_.socket);
}

std::optional<OutgoingAudio::Chunk> RealtimeConnection::takeChunk() {
    const std::lock_guard lock(accumulationLock_);
    return audio_.takeChunk();
}

OutgoingAudio::Chunk RealtimeConnection::takeRest(std::uint64_t session) {
    const std::lock_guard lock(accumulationLock_);
    if (session_ != session)
        throw runtime::CancellationError();
    return {audio_.takeRest(), line_.socket};
}

void RealtimeConnection::wipeRest() {
    const std::lock_guard lock(accumulationLock_);
    audio_.wipeRest();
}

} // namespace sonvale::transcription
