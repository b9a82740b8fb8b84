#pragma once

#include <filesystem>

namespace sonvale::tests {

/// Returns the path of the built module for `adapters::ffmpeg::FfmpegAudioFiles`.
std::filesystem::path ffmpegModule();

} // namespace sonvale::tests
