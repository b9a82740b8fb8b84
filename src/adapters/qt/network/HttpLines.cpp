#include "adapters/qt/network/HttpLines.h"

#include <QMetaObject>
#include <utility>

namespace sonvale::adapters::qt {

namespace {

constexpr std::size_t readAhead = 64UL << 10U;

} // namespace

HttpLines::HttpLines(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request,
                     runtime::Continuation<platform::UrlResponse> caller)
    : HttpExchange(connections, tls, std::move(request))
    , caller_(std::move(caller)) {
    setReadAhead(readAhead);
}

HttpLines::~HttpLines() {
    close();
    failCaller();
    if (const auto reader = std::exchange(reader_, std::nullopt))
        reader->fail(urlFailure(platform::UrlError::Code::cancelled));
}

void HttpLines::next(runtime::Continuation<Line> reader) {
    reader_.emplace(std::move(reader));
    setTimeLimit(TimeLimit::runs);
    readOn();
}

void HttpLines::headCame(const platform::UrlResponse& head) {
    releaseBody();
    setTimeLimit(TimeLimit::paused);
    if (const auto caller = std::exchange(caller_, std::nullopt))
        caller->resume(head);
}

void HttpLines::bodyCame() {
    readOn();
}

void HttpLines::ended(const std::optional<platform::UrlError>& error) {
    error_ = error;
    releaseBody();
    // In a later turn of the event loop: the caller that starts it still has the body.
    if (caller_)
        QMetaObject::invokeMethod(this, [this] { failCaller(); }, Qt::QueuedConnection);
    readOn();
}

void HttpLines::failCaller() {
    if (const auto caller = std::exchange(caller_, std::nullopt))
        caller->fail(std::make_exception_ptr(error_.value_or(urlError(platform::UrlError::Code::cancelled))));
}

void HttpLines::readOn() {
    if (!reader_)
        return;
    while (!splitter_.hasLine() && !splitter_.isTooLong()) {
        std::string bytes;
        read(bytes, readAhead);
        if (bytes.empty())
            break;
        splitter_.take(bytes);
    }
    // In an answer that has broken off, a line without its end is incomplete.
    if (isEnded() && !error_ && !splitter_.hasLine())
        splitter_.finish();
    if (splitter_.hasLine() || isEnded())
        answerReader();
    else if (splitter_.isTooLong())
        end(urlError(platform::UrlError::Code::dataLengthExceedsMaximum));
}

void HttpLines::answerReader() {
    const auto reader = *std::exchange(reader_, std::nullopt);
    setTimeLimit(TimeLimit::paused);
    if (auto line = splitter_.next())
        reader.resume(std::move(line));
    else if (error_)
        reader.fail(std::make_exception_ptr(*error_));
    else if (splitter_.isTooLong())
        reader.fail(urlFailure(platform::UrlError::Code::dataLengthExceedsMaximum));
    else
        reader.resume(std::nullopt);
}

} // namespace sonvale::adapters::qt
