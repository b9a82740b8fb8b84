#include "adapters/qt/network/HttpCall.h"

namespace sonvale::adapters::qt {

namespace {

/// Far above any answer that this program expects.
constexpr std::size_t maxAnswerBytes = 64UL << 20U;

} // namespace

HttpCall::HttpCall(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request,
                   runtime::Continuation<platform::UrlResponse> caller, std::function<void()> onEnd)
    : HttpExchange(connections, tls, std::move(request))
    , caller_(std::move(caller))
    , onEnd_(std::move(onEnd)) {}

HttpCall::~HttpCall() {
    close();
    if (!isEnded())
        caller_.fail(urlFailure(platform::UrlError::Code::cancelled));
    else if (error_)
        caller_.fail(std::make_exception_ptr(*error_));
    else
        caller_.resume(std::move(response_));
}

void HttpCall::headCame(const platform::UrlResponse& head) {
    response_ = head;
}

void HttpCall::bodyCame() {
    if (response_.body.size() + bytesAvailable() > maxAnswerBytes)
        end(platform::UrlError(platform::UrlError::Code::badServerResponse,
                               "The server's answer is too large."));
    else
        read(response_.body, maxAnswerBytes);
}

void HttpCall::ended(const std::optional<platform::UrlError>& error) {
    error_ = error;
    onEnd_();
}

} // namespace sonvale::adapters::qt
