#pragma once

#include <QIODevice>
#include <cstddef>
#include <memory>
#include <vector>

namespace sonvale::adapters::qt {

/// The body of a request, which Qt reads in place and only once. Must be opened before use.
///
/// Qt sends a request again if its connection ends without an answer. The server may have handled the request
/// by then, and a recording that arrives twice is paid for twice, so only the caller may repeat a request
/// that is not idempotent (RFC 9110, 9.2.2). Before Qt sends a body again it seeks to the beginning, which
/// this device refuses; the reply then fails with `ContentReSendError`.
class BodyDevice final : public QIODevice {
public:
    /// A null body is empty.
    explicit BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes);

    /// Allows seeking from now on: when there is an answer, Qt seeks for a redirect, which it reports and
    /// does not follow.
    void answerCame() { hasAnswer_ = true; }
    /// Drops the bytes. A reader then finds the end.
    void release() { bytes_.reset(); }

    qint64 size() const override;
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    std::shared_ptr<const std::vector<std::byte>> bytes_;
    bool hasAnswer_ = false;
    bool wasRead_;
};

} // namespace sonvale::adapters::qt
