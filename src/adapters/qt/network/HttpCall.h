#pragma once

#include "adapters/qt/network/HttpExchange.h"

#include <functional>
#include <string>

namespace sonvale::adapters::qt {

/// A request whose answer is received as a whole, on the network thread. It answers its caller when it is
/// destroyed: nothing reads the request's body any more by then.
class HttpCall final : public HttpExchange {
public:
    /// `onEnd` is called once, and should destroy the call in a later turn of the event loop. The connections
    /// must outlive it.
    HttpCall(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request,
             runtime::Continuation<platform::UrlResponse> caller, std::function<void()> onEnd);
    /// Closes the connection of a running request, which counts as cancelled.
    ~HttpCall() override;

private:
    void headCame(const platform::UrlResponse& head) override;
    void bodyCame() override;
    void ended(const std::optional<platform::UrlError>& error) override;

    const runtime::Continuation<platform::UrlResponse> caller_;
    const std::function<void()> onEnd_;
    platform::UrlResponse response_;
    std::optional<platform::UrlError> error_;
};

} // namespace sonvale::adapters::qt
