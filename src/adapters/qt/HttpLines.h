#pragma once

#include "adapters/qt/HttpExchange.h"
#include "adapters/qt/LineSplitter.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::adapters::qt {

/// A request whose answer is taken line by line, on the network thread. It reads on only when somebody waits
/// for a line. What still waits when it is destroyed has been cancelled.
class HttpLines final : public HttpExchange {
public:
    using Line = std::optional<std::string>;

    /// `caller` gets the head. The manager must outlive it.
    HttpLines(KeptConnections& connections, const QSslConfiguration& ssl, platform::UrlRequest request,
              runtime::Continuation<platform::UrlResponse> caller);
    ~HttpLines() override;

    /// After the head, and after the last one has been answered.
    void next(runtime::Continuation<Line> reader);

private:
    void headCame(const platform::UrlResponse& head) override;
    void bodyCame() override;
    void ended(const std::optional<platform::UrlError>& error) override;

    void failCaller();
    void readOn();
    void answerReader();

    std::optional<runtime::Continuation<platform::UrlResponse>> caller_; ///< until the head has come
    std::optional<runtime::Continuation<Line>> reader_;
    LineSplitter splitter_{platform::UrlLines::maxLineBytes};
    std::optional<platform::UrlError> error_;
};

} // namespace sonvale::adapters::qt
