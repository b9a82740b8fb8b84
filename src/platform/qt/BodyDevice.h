#pragma once

#include <QIODevice>
#include <cstddef>
#include <functional>
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
    /// Null is an empty body. `onRepeat` is called instead when it is read from its beginning again and may
    /// not be; it should see to it that the request ends.
    BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes, std::function<void()> onRepeat);

    void forbidRepeat() { mayRepeat_ = false; }
    /// Drops the bytes: whoever reads on gets to the end.
    void letGo() { bytes_.reset(); }

    qint64 size() const override;
    /// Qt goes back also before it reports a redirect, so that going back alone is no repeat.
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 most) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    std::shared_ptr<const std::vector<std::byte>> bytes_;
    const std::function<void()> onRepeat_;
    bool mayRepeat_ = true;
    bool isRepeat_ = false;
};

} // namespace sonvale::platform::qt
