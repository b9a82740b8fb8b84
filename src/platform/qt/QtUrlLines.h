#pragma once

#include "platform/UrlSession.h"
#include "platform/qt/SessionHandle.h"

#include <memory>

namespace sonvale::platform::qt {

/// An answer of a session on Qt's network thread, line by line. It keeps its session.
class QtUrlLines final : public UrlLines {
public:
    /// As `UrlSession::lines`.
    static runtime::Task<std::shared_ptr<UrlLines>> open(std::shared_ptr<SessionHandle> session,
                                                         UrlRequest request);

    explicit QtUrlLines(std::shared_ptr<SessionHandle> session);
    ~QtUrlLines() override;

    const UrlResponse& head() const override { return head_; }
    runtime::Task<std::optional<std::string>> next() override;

private:
    const std::shared_ptr<SessionHandle> session_;
    const NetworkId id_;
    UrlResponse head_;
};

} // namespace sonvale::platform::qt
