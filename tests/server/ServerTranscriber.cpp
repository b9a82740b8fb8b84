#include "tests/server/ServerTranscriber.h"

#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/ffmpeg/module/StreamResampler.h"
#include "adapters/pocketsphinx/PocketSphinxDecoder.h"
#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Files.h"

#include <atomic>
#include <cstring>
#include <mutex>

namespace sonvale::tests {

using adapters::pocketsphinx::PocketSphinxDecoder;

class ServerTranscriber::Model {
public:
    std::string ofPcm(const std::string& pcm) {
        std::vector<float> samples(pcm.size() / sizeof(std::int16_t));
        for (std::size_t index = 0; index < samples.size(); ++index) {
            std::int16_t sample = 0;
            std::memcpy(&sample, pcm.data() + index * sizeof sample, sizeof sample);
            samples[index] = static_cast<float>(sample) / 32768.0F;
        }

        adapters::ffmpeg::StreamResampler resampler(24000, PocketSphinxDecoder::sampleRate, 1);
        adapters::ffmpeg::Planes converted(1);
        const float* const plane = samples.data();
        resampler.process({&plane, 1}, samples.size(), converted);
        resampler.finish(converted);
        return transcribe(converted[0]);
    }

    std::string ofAudioFile(const std::string& bytes) {
        const TemporaryDirectory directory;
        const auto file = std::filesystem::path(directory.path()) / "posted";
        writeFile(file, bytes);
        adapters::ffmpeg::FfmpegAudioFiles files{ffmpegModule()};
        const auto buffer =
            files.read(file, {.sampleRate = PocketSphinxDecoder::sampleRate, .channelCount = 1});
        return transcribe(buffer->channel(0));
    }

    void end() { isEnded_ = true; }

private:
    std::string transcribe(std::span<const float> samples) {
        const std::lock_guard lock(mutex_);
        if (!decoder_)
            decoder_ =
                std::make_unique<PocketSphinxDecoder>(adapters::pocketsphinx::PocketSphinxModel::english(
                    adapters::pocketsphinx::PocketSphinxRecognizers::installedModelDirectory()));
        return decoder_->transcribe(samples, isEnded_);
    }

    std::mutex mutex_; // guards the decoder
    std::unique_ptr<PocketSphinxDecoder> decoder_;
    std::atomic<bool> isEnded_ = false;
};

ServerTranscriber::ServerTranscriber()
    : model_(std::make_shared<Model>()) {}

ServerTranscriber::~ServerTranscriber() {
    model_->end();
}

std::string ServerTranscriber::ofPcm(const std::string& pcm) {
    return model_->ofPcm(pcm);
}

std::string ServerTranscriber::ofAudioFile(const std::string& bytes) {
    return model_->ofAudioFile(bytes);
}

Listening ServerTranscriber::listening() const {
    return {.ofPcm = [model = model_](const std::string& pcm) { return model->ofPcm(pcm); },
            .ofAudioFile = [model = model_](const std::string& bytes) { return model->ofAudioFile(bytes); }};
}

} // namespace sonvale::tests
