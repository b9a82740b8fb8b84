#include "adapters/ffmpeg/module/AudioFileDecoder.h"

#include "adapters/ffmpeg/UsableFormat.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <string>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr const char* readFailure = "The audio file cannot be read";

int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EPERM);
}

} // namespace

AudioFileDecoder::AudioFileDecoder(const std::filesystem::path& path)
    : file_(FileIo::open(path))
    , packet_(av_packet_alloc())
    , frame_(av_frame_alloc()) {
    container_ = avformat_alloc_context();
    if (!container_ || !packet_ || !frame_)
        throw std::bad_alloc();
    container_->pb = file_->context();
    container_->flags |= AVFMT_FLAG_CUSTOM_IO;
    container_->io_open = refuseToOpen;

    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", "mov,mp4,m4a,3gp,3g2,mj2,wav", 0);
    // Frees the container if it fails.
    const int result = avformat_open_input(&container_, nullptr, nullptr, &options);
    av_dict_free(&options);
    checkFfmpeg(result, readFailure);
    try {
        openStream();
    } catch (...) {
        avformat_close_input(&container_);
        throw;
    }
}

AudioFileDecoder::~AudioFileDecoder() {
    avformat_close_input(&container_);
}

void AudioFileDecoder::openStream() {
    // A recording that ended before its first frame is a container without tracks.
    if (container_->nb_streams == 0)
        return;
    checkFfmpeg(avformat_find_stream_info(container_, nullptr), readFailure);
    const AVCodec* decoder = nullptr;
    const int index =
        checkFfmpeg(av_find_best_stream(container_, AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0), readFailure);
    stream_ = container_->streams[index];
    codec_.reset(avcodec_alloc_context3(decoder));
    checkFfmpeg(avcodec_parameters_to_context(codec_.get(), stream_->codecpar), readFailure);
    codec_->pkt_timebase = stream_->time_base;
    checkFfmpeg(avcodec_open2(codec_.get(), decoder, nullptr), readFailure);
}

platform::PcmBufferPtr AudioFileDecoder::decode(const platform::AudioFormat& format) {
    requireUsable(format);
    target_ = format;
    mixed_.assign(format.channelCount, {});
    output_.assign(format.channelCount, {});

    int result = stream_ ? 0 : AVERROR_EOF;
    while (result >= 0) {
        result = av_read_frame(container_, packet_.get());
        if (result >= 0 && packet_->stream_index == stream_->index)
            decodePacket(packet_.get());
        av_packet_unref(packet_.get());
    }
    if (result != AVERROR_EOF)
        checkFfmpeg(result, readFailure);
    if (stream_)
        decodePacket(nullptr);
    if (!resampler_ && firstError_ < 0)
        checkFfmpeg(firstError_, readFailure);
    if (resampler_)
        resampler_->finish(output_);
    return takeOutput();
}

void AudioFileDecoder::decodePacket(const AVPacket* packet) {
    // One damaged packet among good ones costs a fiftieth of a second; ending here would lose the dictation.
    if (const int result = avcodec_send_packet(codec_.get(), packet); result < 0)
        firstError_ = std::min(firstError_, result);
    for (;;) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        if (result < 0) {
            firstError_ = std::min(firstError_, result);
            return;
        }
        takeFrame();
        av_frame_unref(frame_.get());
    }
}

void AudioFileDecoder::takeFrame() {
    const platform::AudioFormat format{static_cast<double>(frame_->sample_rate),
                                       static_cast<std::uint32_t>(frame_->ch_layout.nb_channels)};
    if (!resampler_)
        begin(format);
    if (format != source_)
        throw platform::AudioFileError("The audio file cannot be read: its format changes on the way");

    const auto frames =
        std::min<std::int64_t>(frame_->nb_samples, framesLeft_); // the last block is padded with silence
    framesLeft_ -= frames;
    if (!toFloat_) {
        takeSamples(reinterpret_cast<const float* const*>(frame_->extended_data),
                    static_cast<std::size_t>(frames));
        return;
    }
    Planes planes(source_.channelCount, Planes::value_type(static_cast<std::size_t>(frame_->nb_samples)));
    std::vector<std::uint8_t*> to;
    for (auto& plane : planes)
        to.push_back(reinterpret_cast<std::uint8_t*>(plane.data()));
    checkFfmpeg(swr_convert(toFloat_.get(), to.data(), frame_->nb_samples,
                            const_cast<const std::uint8_t**>(frame_->extended_data), frame_->nb_samples),
                readFailure);
    takeSamples(reinterpret_cast<const float* const*>(to.data()), static_cast<std::size_t>(frames));
}

void AudioFileDecoder::begin(const platform::AudioFormat& source) {
    source_ = source;
    resampler_ =
        std::make_unique<StreamResampler>(source.sampleRate, target_.sampleRate, target_.channelCount);
    framesLeft_ = std::numeric_limits<std::int64_t>::max();
    if (stream_->duration != AV_NOPTS_VALUE)
        framesLeft_ = av_rescale_q(stream_->duration, stream_->time_base, {1, frame_->sample_rate});

    if (frame_->format == AV_SAMPLE_FMT_FLTP)
        return;
    SwrContext* converter = nullptr;
    checkFfmpeg(swr_alloc_set_opts2(&converter, &frame_->ch_layout, AV_SAMPLE_FMT_FLTP, frame_->sample_rate,
                                    &frame_->ch_layout, static_cast<AVSampleFormat>(frame_->format),
                                    frame_->sample_rate, 0, nullptr),
                readFailure);
    toFloat_.reset(converter);
    checkFfmpeg(swr_init(converter), readFailure);
}

void AudioFileDecoder::takeSamples(const float* const* samples, std::size_t frames) {
    std::vector<const float*> planes(target_.channelCount);
    for (std::size_t channel = 0; channel < planes.size(); ++channel) {
        if (target_.channelCount > 1 && channel < source_.channelCount) {
            planes[channel] = samples[channel];
            continue;
        }
        auto& plane = mixed_[channel];
        plane.assign(frames, 0);
        for (std::size_t source = 0; source < source_.channelCount; ++source) {
            for (std::size_t i = 0; i < frames; ++i)
                plane[i] += samples[source][i];
        }
        for (auto& sample : plane)
            sample /= static_cast<float>(source_.channelCount);
        planes[channel] = plane.data();
    }
    resampler_->process(planes, frames, output_);
}

platform::PcmBufferPtr AudioFileDecoder::takeOutput() {
    auto buffer = std::make_shared<platform::PcmBuffer>(target_, output_[0].size());
    for (std::size_t channel = 0; channel < output_.size(); ++channel) {
        // The codec and the filter may overshoot.
        std::ranges::transform(output_[channel], buffer->channel(channel).begin(), [](float sample) {
            return std::isfinite(sample) ? std::clamp(sample, -1.0F, 1.0F) : 0;
        });
        output_[channel] = {};
    }
    return buffer;
}

} // namespace sonvale::adapters::ffmpeg
