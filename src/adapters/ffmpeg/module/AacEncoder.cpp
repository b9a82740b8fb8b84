#include "adapters/ffmpeg/module/AacEncoder.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr double substituteRate = 48000;
constexpr const char* writeFailure = "The recording cannot be written";

const AVCodec& aac() {
    static const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec)
        throw platform::AudioFileError("This system has no AAC encoder.");
    return *codec;
}

/// Returns the rates that the encoder supports, terminated by 0.
const int* supportedRates() {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    const void* rates = nullptr;
    checkFfmpeg(
        avcodec_get_supported_config(nullptr, &aac(), AV_CODEC_CONFIG_SAMPLE_RATE, 0, &rates, nullptr),
        "The encoder cannot be started");
    return static_cast<const int*>(rates);
#else
    return aac().supported_samplerates;
#endif
}

platform::AudioFormat codedFormat(const platform::AudioFormat& format) {
    platform::AudioFormat coded{substituteRate, format.channelCount == 2 ? 2U : 1U};
    for (const int* rate = supportedRates(); rate && *rate; ++rate) {
        if (*rate == format.sampleRate)
            coded.sampleRate = *rate;
    }
    return coded;
}

/// Returns 64 kbit/s per channel at 48 kHz, which leaves speech intact. AAC holds up to 6 bits per sample,
/// and above 48 kHz the bits must grow with the rate or the encoder narrows the band.
std::int64_t bitRate(const platform::AudioFormat& coded) {
    const double channel = std::max(std::min(64000.0, coded.sampleRate * 3), coded.sampleRate * 4 / 3);
    return static_cast<std::int64_t>(channel * coded.channelCount);
}

} // namespace

AacEncoder::AacEncoder(FileDescriptor file, const platform::AudioFormat& format)
    : format_(format)
    , coded_(codedFormat(format))
    , packet_(av_packet_alloc())
    , resampler_(format.sampleRate, coded_.sampleRate, format.channelCount == 0 ? 0 : coded_.channelCount)
    , mixed_(coded_.channelCount)
    , pending_(coded_.channelCount) {
    openCodec();
    file_ = FileIo::forWriting(std::move(file));
    try {
        openContainer();
    } catch (...) {
        avformat_free_context(container_);
        throw;
    }
}

AacEncoder::~AacEncoder() {
    avformat_free_context(container_);
}

void AacEncoder::openCodec() {
    codec_.reset(avcodec_alloc_context3(&aac()));
    codec_->sample_rate = static_cast<int>(coded_.sampleRate);
    av_channel_layout_default(&codec_->ch_layout, static_cast<int>(coded_.channelCount));
    codec_->sample_fmt = AV_SAMPLE_FMT_FLTP;
    codec_->bit_rate = bitRate(coded_);
    codec_->time_base = {1, codec_->sample_rate};
    codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* options = nullptr;
    // The default coder makes loud clicks in steady tones, has 13 dB more noise in speech and needs four
    // times the processor time.
    av_dict_set(&options, "aac_coder", "fast", 0);
    const int result = avcodec_open2(codec_.get(), nullptr, &options);
    av_dict_free(&options);
    checkFfmpeg(result, "The encoder cannot be started");

    frame_.reset(av_frame_alloc());
    frame_->format = codec_->sample_fmt;
    frame_->sample_rate = codec_->sample_rate;
    frame_->nb_samples = codec_->frame_size;
    checkFfmpeg(av_channel_layout_copy(&frame_->ch_layout, &codec_->ch_layout),
                "The encoder cannot be started");
}

void AacEncoder::openContainer() {
    checkFfmpeg(avformat_alloc_output_context2(&container_, nullptr, "ipod", nullptr), writeFailure);
    container_->pb = file_->context();
    container_->flags |= AVFMT_FLAG_CUSTOM_IO;
    stream_ = avformat_new_stream(container_, nullptr);
    if (!stream_)
        throw std::bad_alloc();
    stream_->time_base = codec_->time_base;
    checkFfmpeg(avcodec_parameters_from_context(stream_->codecpar, codec_.get()), writeFailure);

    AVDictionary* options = nullptr;
    // The unit of the file's length. The usual millisecond would cut it between two frames.
    av_dict_set_int(&options, "movie_timescale", codec_->sample_rate, 0);
    const int result = avformat_write_header(container_, &options);
    av_dict_free(&options);
    checkFfmpeg(result, writeFailure);
}

void AacEncoder::encode(const platform::PcmBuffer& buffer) {
    if (buffer.format() != format_)
        throw platform::AudioFileError("The microphone changed its format during the recording.");
    take(buffer);
    sendBlocks();
}

void AacEncoder::take(const platform::PcmBuffer& buffer) {
    const auto frames = buffer.frameLength();
    const bool isMixing = coded_.channelCount != format_.channelCount;
    std::vector<const float*> planes(coded_.channelCount);
    for (std::size_t channel = 0; channel < mixed_.size(); ++channel) {
        auto& plane = mixed_[channel];
        plane.assign(frames, 0);
        const std::size_t last = isMixing ? format_.channelCount : channel + 1;
        for (std::size_t source = isMixing ? 0 : channel; source < last; ++source) {
            const auto samples = buffer.channel(source);
            // The encoder refuses a whole block because of one NaN sample, and some drivers deliver those.
            for (std::size_t i = 0; i < frames; ++i)
                plane[i] += std::isfinite(samples[i]) ? samples[i] : 0;
        }
        if (isMixing) {
            for (auto& sample : plane)
                sample /= static_cast<float>(format_.channelCount);
        }
        planes[channel] = plane.data();
    }
    resampler_.process(planes, frames, pending_);
}

void AacEncoder::sendBlocks() {
    const auto block = static_cast<std::size_t>(codec_->frame_size);
    std::size_t sent = 0;
    while (pending_[0].size() - sent >= block) {
        sendBlock(sent, block);
        sent += block;
    }
    for (auto& plane : pending_)
        plane.erase(plane.begin(), plane.begin() + static_cast<std::ptrdiff_t>(sent));
}

void AacEncoder::sendBlock(std::size_t offset, std::size_t frames) {
    frame_->nb_samples = static_cast<int>(frames);
    if (!frame_->buf[0])
        checkFfmpeg(av_frame_get_buffer(frame_.get(), 0), writeFailure);
    // The encoder may still use the last frame's samples.
    checkFfmpeg(av_frame_make_writable(frame_.get()), writeFailure);
    for (std::size_t channel = 0; channel < pending_.size(); ++channel)
        std::copy_n(pending_[channel].data() + offset, frames,
                    reinterpret_cast<float*>(frame_->extended_data[channel]));
    frame_->pts = framesSent_;
    framesSent_ += static_cast<std::int64_t>(frames);
    checkFfmpeg(avcodec_send_frame(codec_.get(), frame_.get()), writeFailure);
    writePackets();
}

void AacEncoder::writePackets() {
    for (;;) {
        const int result = avcodec_receive_packet(codec_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        checkFfmpeg(result, writeFailure);
        av_packet_rescale_ts(packet_.get(), codec_->time_base, stream_->time_base);
        packet_->stream_index = stream_->index;
        checkFfmpeg(av_write_frame(container_, packet_.get()), writeFailure);
        av_packet_unref(packet_.get());
    }
}

void AacEncoder::finish() {
    resampler_.finish(pending_);
    sendBlocks();
    if (!pending_[0].empty())
        sendBlock(0, pending_[0].size());
    checkFfmpeg(avcodec_send_frame(codec_.get(), nullptr), writeFailure);
    writePackets();
    avio_flush(container_->pb);
    // Without the trailer nothing of the file can be read, so it takes precedence over audio that does not
    // fit on the disk.
    const bool hasAllAudio = file_->writeRest();
    file_->dropRest();
    file_->hold();
    checkFfmpeg(av_write_trailer(container_), writeFailure);
    avio_flush(container_->pb);
    if (!file_->writeHeld() || !hasAllAudio)
        checkFfmpeg(file_->writeError(), writeFailure);
}

} // namespace sonvale::adapters::ffmpeg
