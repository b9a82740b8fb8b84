#include "adapters/qt/network/BodyDevice.h"

#include <algorithm>

namespace sonvale::adapters::qt {

// A request without a body consists of its head only.
BodyDevice::BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes)
    : bytes_(std::move(bytes))
    , wasRead_(size() == 0) {}

qint64 BodyDevice::size() const {
    return bytes_ ? static_cast<qint64>(bytes_->size()) : 0;
}

bool BodyDevice::seek(qint64 position) {
    return (hasAnswer_ || !wasRead_) && QIODevice::seek(position);
}

qint64 BodyDevice::readData(char* data, qint64 maxSize) {
    const qint64 count = std::min(maxSize, size() - pos());
    if (count <= 0)
        return maxSize > 0 ? -1 : 0;
    wasRead_ = true;
    std::copy_n(reinterpret_cast<const char*>(bytes_->data()) + pos(), count, data);
    return count;
}

qint64 BodyDevice::writeData(const char*, qint64) {
    return -1;
}

} // namespace sonvale::adapters::qt
