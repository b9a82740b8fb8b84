#include "platform/qt/BodyDevice.h"

#include <algorithm>

namespace sonvale::platform::qt {

BodyDevice::BodyDevice(std::shared_ptr<const std::vector<std::byte>> bytes, std::function<void()> onRepeat)
    : bytes_(std::move(bytes))
    , onRepeat_(std::move(onRepeat)) {}

qint64 BodyDevice::size() const {
    return bytes_ ? static_cast<qint64>(bytes_->size()) : 0;
}

bool BodyDevice::seek(qint64 position) {
    isRepeat_ = true;
    return QIODevice::seek(position);
}

qint64 BodyDevice::readData(char* data, qint64 most) {
    if (isRepeat_ && !mayRepeat_) {
        onRepeat_();
        return 0;
    }
    const qint64 count = std::min(most, size() - pos());
    if (count <= 0)
        return most > 0 ? -1 : 0;
    std::copy_n(reinterpret_cast<const char*>(bytes_->data()) + pos(), count, data);
    return count;
}

qint64 BodyDevice::writeData(const char*, qint64) {
    return -1;
}

} // namespace sonvale::platform::qt
