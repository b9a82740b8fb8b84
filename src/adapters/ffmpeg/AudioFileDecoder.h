#pragma once

#include "adapters/ffmpeg/FfmpegPointers.h"
#include "adapters/ffmpeg/FileIo.h"
#include "adapters/ffmpeg/StreamResampler.h"

#include "platform/AudioFile.h"

#include <filesystem>

namespace sonvale::adapters::ffmpeg {

/// Decodes one audio file. One thread.
class AudioFileDecoder {
public:
    /// Throws `AudioFileError` when the file cannot be opened or holds no audio.
    explicit AudioFileDecoder(const std::filesystem::path& path);
    ~AudioFileDecoder();
    AudioFileDecoder(const AudioFileDecoder&) = delete;
    AudioFileDecoder& operator=(const AudioFileDecoder&) = delete;

    /// The whole file, once, in the given format; what the encoder put before and behind the audio is cut
    /// off. Throws `AudioFileError`.
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
    const AVStream* stream_ = nullptr; ///< null: the container has not one frame
    FfmpegPointer<AVCodecContext> codec_;
    FfmpegPointer<AVPacket> packet_;
    FfmpegPointer<AVFrame> frame_;
    FfmpegPointer<SwrContext> toFloat_; ///< made when the codec does not deliver planes of floats
    platform::AudioFormat source_;
    platform::AudioFormat target_;
    std::int64_t framesLeft_ = 0; ///< of the source, up to the container's duration
    int firstError_ = 0;

    std::unique_ptr<StreamResampler> resampler_; ///< made with the first frame
    Planes mixed_;
    Planes output_;
};

} // namespace sonvale::adapters::ffmpeg
