#pragma once

#include "platform/qt/HttpExchange.h"
#include "platform/qt/LineSplitter.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::platform::qt {

/// A request whose answer is taken line by line, on the network thread. It reads on only when somebody waits
/// for a line. What still waits when it is destroyed has been cancelled.
class HttpLines final : public HttpExchange {
public:
    using Line = std::optional<std::string>;

    /// `caller` gets the head. The manager must outlive it.
    HttpLines(KeptConnections& connections, const QSslConfiguration& ssl, UrlRequest request,
              runtime::Continuation<UrlResponse> caller);
    ~HttpLines() override;

    /// After the head, and after the last one has been answered.
    void next(runtime::Continuation<Line> reader);

private:
    void headCame(const UrlResponse& head) override;
    void bodyCame() override;
    void ended(const std::optional<UrlError>& error) override;

    void failCaller();
    void readOn();
    void answerReader();

    std::optional<runtime::Continuation<UrlResponse>> caller_; ///< until the head has come
    std::optional<runtime::Continuation<Line>> reader_;
    LineSplitter splitter_{UrlLines::longestLine};
    std::optional<UrlError> error_;
};

} // namespace sonvale::platform::qt
