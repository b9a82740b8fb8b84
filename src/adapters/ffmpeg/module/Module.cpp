#include "adapters/ffmpeg/FfmpegModule.h"
#include "adapters/ffmpeg/module/AacEncoder.h"
#include "adapters/ffmpeg/module/AudioFileDecoder.h"
#include "adapters/ffmpeg/module/FfmpegPointers.h"

#include <utility>

namespace sonvale::adapters::ffmpeg {

namespace {

class Module final : public FfmpegModule {
public:
    Module() { silenceFfmpeg(); }

    std::unique_ptr<RecordingEncoder> makeEncoder(FileDescriptor file,
                                                  const platform::AudioFormat& format) const override {
        return std::make_unique<AacEncoder>(std::move(file), format);
    }

    platform::PcmBufferPtr read(const std::filesystem::path& path,
                                const platform::AudioFormat& format) const override {
        return AudioFileDecoder(path).decode(format);
    }
};

} // namespace

const FfmpegModule* sonvaleFfmpegModule() {
    static const Module module;
    return &module;
}

} // namespace sonvale::adapters::ffmpeg
