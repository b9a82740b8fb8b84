#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <numbers>

namespace {

using namespace sonvale;

constexpr platform::AudioFormat format{48000, 1};
constexpr double frequency = 440;

float toneAt(double seconds) {
    return 0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * frequency * seconds));
}

} // namespace

/// Records a minute of a tone into a folder, the first argument, even if the disk refuses. The second
/// argument is the module of FFmpeg. Prints the error of closing the file, how many whole seconds can be
/// read, and how many of the first of them are the tone.
int main(int argc, char** argv) {
    if (argc < 3)
        return 1;
    const auto path = std::filesystem::path(argv[1]) / "a.m4a";
    adapters::ffmpeg::FfmpegAudioFiles files(argv[2]);
    try {
        const auto writer = files.create(path, format);
        for (int second = 0; second < 60; ++second) {
            const auto buffer = std::make_shared<platform::PcmBuffer>(format, 48000);
            for (std::size_t i = 0; i < 48000; ++i)
                buffer->channel(0)[i] = toneAt(second + static_cast<double>(i) / 48000);
            writer->write(buffer);
        }
        try {
            writer->close();
            std::cout << "closed" << std::endl;
        } catch (const platform::AudioFileError& error) {
            std::cout << error.what() << std::endl;
        }
        const auto read = files.read(path, {16000, 1});
        const auto samples = read->channel(0);
        std::cout << samples.size() / 16000 << std::endl;
        std::size_t good = 0;
        for (bool isTone = true; isTone && (good + 1) * 16000 <= samples.size(); good += isTone ? 1 : 0) {
            double difference = 0;
            for (std::size_t i = good * 16000; i < (good + 1) * 16000; ++i)
                difference = std::max(difference, std::abs(static_cast<double>(samples[i]) -
                                                           toneAt(static_cast<double>(i) / 16000)));
            isTone = difference < 0.1;
        }
        std::cout << good << std::endl;
    } catch (const platform::AudioFileError& error) {
        std::cout << error.what() << std::endl;
        return 2;
    }
}
