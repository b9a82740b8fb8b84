#pragma once

#include <QIODevice>
#include <cstddef>
#include <memory>
#include <vector>

namespace sonvale::adapters::qt {

/// The body of a request for Qt to read, in place and only once. Open it before use.
///
/// Qt sends a request again if its connection ends without an answer. The server may have acted on the
/// request by then, and a recording that arrives twice is paid for twice, so only the caller may repeat what
/// is not idempotent (RFC 9110, 9.2.2). Before Qt sends a body again it goes back to its beginning, which
/// this device refuses; the reply then fails with `ContentReSendError`.
class BodyDevice final : public QIODevice {
public:
    /// Null is an empty body.
    explicit BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes);

    /// From now on the device goes back: once there is an answer, Qt does so for a redirect, which it reports
    /// and does not follow.
    void answerCame() { hasAnswer_ = true; }
    /// Drops the bytes; a reader finds the end.
    void letGo() { bytes_.reset(); }

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
