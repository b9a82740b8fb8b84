#pragma once

#include "adapters/qt/network/SessionHandle.h"

#include "platform/UrlSession.h"

#include <memory>

namespace sonvale::adapters::qt {

/// An answer of a session on Qt's network thread, read line by line. Keeps its session alive.
class QtUrlLines final : public platform::UrlLines {
public:
    /// As `UrlSession::lines`.
    static runtime::Task<std::shared_ptr<platform::UrlLines>> open(std::shared_ptr<SessionHandle> session,
                                                                   platform::UrlRequest request);

    explicit QtUrlLines(std::shared_ptr<SessionHandle> session);
    ~QtUrlLines() override;

    const platform::UrlResponse& head() const override { return head_; }
    runtime::Task<std::optional<std::string>> next() override;

private:
    const std::shared_ptr<SessionHandle> session_;
    const NetworkId id_;
    platform::UrlResponse head_;
};

} // namespace sonvale::adapters::qt
