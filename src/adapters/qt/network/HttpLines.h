#pragma once

#include "adapters/qt/network/HttpExchange.h"
#include "adapters/qt/network/LineSplitter.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::adapters::qt {

/// A request whose answer is read line by line, on the network thread. It reads only while a caller waits for
/// a line. Its destruction cancels waiting callers.
class HttpLines final : public HttpExchange {
public:
    using Line = std::optional<std::string>;

    /// `caller` receives the head. The connections must outlive it.
    HttpLines(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request,
              runtime::Continuation<platform::UrlResponse> caller);
    ~HttpLines() override;

    /// Passes the next line to `reader`. Called after the head, and after the previous reader was answered.
    void next(runtime::Continuation<Line> reader);

private:
    void headCame(const platform::UrlResponse& head) override;
    void bodyCame() override;
    void ended(const std::optional<platform::UrlError>& error) override;

    void failCaller();
    void readOn();
    void answerReader();

    std::optional<runtime::Continuation<platform::UrlResponse>>
        caller_; ///< present until the head has arrived
    std::optional<runtime::Continuation<Line>> reader_;
    LineSplitter splitter_{platform::UrlLines::maxLineBytes};
    std::optional<platform::UrlError> error_;
};

} // namespace sonvale::adapters::qt
