#include "adapters/pulse/PcmCutter.h"

#include <algorithm>
#include <utility>

namespace sonvale::adapters::pulse {

PcmCutter::PcmCutter(platform::AudioFormat format, std::size_t bufferFrames, Receiver receiver)
    : format_(format)
    , bufferFrames_(std::max<std::size_t>(bufferFrames, 1))
    , receiver_(std::move(receiver)) {}

PcmCutter::~PcmCutter() {
    if (filling_)
        filling_->wipe();
}

void PcmCutter::take(const float* interleaved, std::size_t frames) {
    const std::size_t channels = format_.channelCount;
    while (frames > 0) {
        if (!filling_)
            filling_ = std::make_shared<platform::PcmBuffer>(format_, bufferFrames_);
        const std::size_t count = std::min(frames, bufferFrames_ - filled_);
        if (interleaved) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                const auto plane = filling_->channel(channel).subspan(filled_, count);
                for (std::size_t i = 0; i < count; ++i)
                    plane[i] = interleaved[i * channels + channel];
            }
            interleaved += count * channels;
        }
        frames -= count;
        filled_ += count;
        if (filled_ == bufferFrames_) {
            filled_ = 0;
            receiver_(std::exchange(filling_, nullptr));
        }
    }
}

void PcmCutter::flush() {
    if (filled_ == 0)
        return;
    const auto last = std::make_shared<platform::PcmBuffer>(format_, filled_);
    for (std::size_t channel = 0; channel < format_.channelCount; ++channel)
        std::ranges::copy(filling_->channel(channel).first(filled_), last->channel(channel).begin());
    filling_->wipe();
    filling_.reset();
    filled_ = 0;
    receiver_(last);
}

} // namespace sonvale::adapters::pulse
