#pragma once

#include "platform/SampleRateConverter.h"

#include <atomic>
#include <cmath>
#include <memory>
#include <string>

namespace sonvale::tests {

/// Converters that take the nearest frame of the first channel, without any filter.
class FakeSampleRateConverters final : public platform::SampleRateConverters {
public:
    struct Control {
        std::atomic<bool> refuses = false;      ///< whether every format is refused
        std::atomic<bool> fails = false;        ///< whether conversions throw
        std::atomic<bool> producesNone = false; ///< whether conversions give no frame
        std::atomic<int> made = 0;
        std::atomic<int> resets = 0;
    };

    std::unique_ptr<platform::SampleRateConverter> make(const platform::AudioFormat& input,
                                                        double outputRate) override {
        if (control_->refuses || input.channelCount == 0 || input.sampleRate <= 0 || outputRate <= 0)
            return nullptr;
        ++control_->made;
        return std::make_unique<Converter>(control_, input, outputRate / input.sampleRate);
    }

    Control& control() { return *control_; }

private:
    class Converter final : public platform::SampleRateConverter {
    public:
        Converter(std::shared_ptr<Control> control, const platform::AudioFormat& input, double ratio)
            : control_(std::move(control))
            , input_(input)
            , ratio_(ratio) {}

        void reset() override { ++control_->resets; }

        base::WipedVector<std::int16_t> convert(const platform::PcmBuffer& buffer,
                                                std::size_t maximumFrames) override {
            if (control_->fails || buffer.format() != input_)
                throw platform::SampleRateConverterError("the converter failed");
            if (control_->producesNone)
                return {};
            const auto whole = static_cast<std::size_t>(static_cast<double>(buffer.frameLength()) * ratio_);
            base::WipedVector<std::int16_t> samples(std::min(whole, maximumFrames));
            for (std::size_t i = 0; i < samples.size(); ++i) {
                const auto frame = static_cast<std::size_t>(static_cast<double>(i) / ratio_);
                samples[i] = static_cast<std::int16_t>(std::lround(buffer.channel(0)[frame] * 32767.0F));
            }
            return samples;
        }

    private:
        const std::shared_ptr<Control> control_;
        const platform::AudioFormat input_;
        const double ratio_;
    };

    const std::shared_ptr<Control> control_ = std::make_shared<Control>();
};

} // namespace sonvale::tests
