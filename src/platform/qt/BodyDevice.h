#pragma once

#include <QIODevice>
#include <cstddef>
#include <memory>
#include <vector>

namespace sonvale::platform::qt {

/// The body of a request for Qt to read, in place. Open it before use.
///
/// Qt sends a request again when its connection ends without an answer. For a connection that was kept from
/// an earlier request that is right: the server may have closed it at the same moment. On a new one the
/// server has read the request, and to send what is not idempotent again is not for the client to decide (RFC
/// 9110, 9.2.2).
class BodyDevice final : public QIODevice {
public:
    /// Null is an empty body.
    explicit BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes);

    void forbidRepeat() { repeatsLeft_ = 0; }

    qint64 size() const override;
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 most) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    const std::shared_ptr<const std::vector<std::byte>> bytes_;
    int repeatsLeft_ = 1;
};

} // namespace sonvale::platform::qt
