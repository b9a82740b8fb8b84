#pragma once

#include "adapters/ffmpeg/module/FfmpegPointers.h"
#include "adapters/ffmpeg/module/FileIo.h"
#include "adapters/ffmpeg/module/StreamResampler.h"

#include "platform/AudioFile.h"

#include <filesystem>

namespace sonvale::adapters::ffmpeg {

/// Decodes one audio file. One thread at a time.
class AudioFileDecoder {
public:
    /// Opens the file. Throws `AudioFileError` if it cannot be opened or contains no audio.
    explicit AudioFileDecoder(const std::filesystem::path& path);
    ~AudioFileDecoder();
    AudioFileDecoder(const AudioFileDecoder&) = delete;
    AudioFileDecoder& operator=(const AudioFileDecoder&) = delete;

    /// Decodes the whole file in the given format. Must be called once. Removes the encoder's padding before
    /// and after the audio. Throws `AudioFileError`.
    platform::PcmBufferPtr decode(const platform::AudioFormat& format);

private:
    void openStream();
    void decodePacket(const AVPacket* packet);
    void takeFrame();
    void begin(const platform::AudioFormat& source);
    void takeSamples(const float* const* samples, std::size_t frames);
    platform::PcmBufferPtr takeOutput();

    std::unique_ptr<FileIo> file_;
    AVFormatContext* container_ = nullptr;
    const AVStream* stream_ = nullptr; ///< null if the container has no frame
    FfmpegPointer<AVCodecContext> codec_;
    FfmpegPointer<AVPacket> packet_;
    FfmpegPointer<AVFrame> frame_;
    FfmpegPointer<SwrContext> toFloat_; ///< made if the codec does not deliver planes of floats
    platform::AudioFormat source_;
    platform::AudioFormat target_;
    std::int64_t framesLeft_ = 0; ///< frames of the source until the container's duration
    int firstError_ = 0;

    std::unique_ptr<StreamResampler> resampler_; ///< made at the first frame
    Planes mixed_;
    Planes output_;
};

} // namespace sonvale::adapters::ffmpeg
