#include "adapters/ffmpeg/LoadedFfmpeg.h"

#include <dlfcn.h>

#include <memory>
#include <string>
#include <utility>

namespace sonvale::adapters::ffmpeg {

namespace {

struct LibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};

/// Loads the module. If it cannot be loaded, returns null and sets `reason`.
const FfmpegModule* load(const std::filesystem::path& file, std::string& reason) {
    // Never unloaded: a writer's thread may use the module until the process ends.
    const std::unique_ptr<void, LibraryCloser> library(
        dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE));
    void* symbol = library ? dlsym(library.get(), "sonvaleFfmpegModule") : nullptr;
    if (!symbol) {
        const char* text = dlerror();
        reason = text ? text : "The library is not the module of FFmpeg.";
        return nullptr;
    }
    return reinterpret_cast<decltype(sonvaleFfmpegModule)*>(symbol)();
}

} // namespace

LoadedFfmpeg::LoadedFfmpeg(std::filesystem::path file)
    : file_(std::move(file)) {}

const FfmpegModule& LoadedFfmpeg::get() {
    const std::lock_guard lock(mutex_);
    std::string reason;
    if (!module_)
        module_ = load(file_, reason);
    if (module_)
        return *module_;
    if (!std::exchange(hasLogged_, true))
        logger_.error("Recordings cannot be written or read: {}", reason);
    throw platform::AudioFileError(unavailable);
}

} // namespace sonvale::adapters::ffmpeg
