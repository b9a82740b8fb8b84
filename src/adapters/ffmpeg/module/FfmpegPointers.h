#pragma once

#include "platform/AudioFile.h"

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

namespace sonvale::adapters::ffmpeg {

struct FfmpegDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    void operator()(AVIOContext* context) const {
        // The library may have replaced its buffer.
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

template <class T>
using FfmpegPointer = std::unique_ptr<T, FfmpegDeleter>;

/// Returns the library's text for one of its error numbers.
std::string ffmpegErrorText(int error);

/// Throws an `AudioFileError` with `what` and the library's text if `result` is an error; else returns it.
int checkFfmpeg(int result, const std::string& what);

/// Keeps the library's own messages off the standard error stream, because they contain the names of the
/// user's files. Applies to the process; may be called several times. Any thread.
void silenceFfmpeg();

} // namespace sonvale::adapters::ffmpeg
