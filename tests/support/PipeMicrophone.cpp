#include "tests/support/PipeMicrophone.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace sonvale::tests {

PipeMicrophone::PipeMicrophone(PrivateSound& sound, const std::string& name, int channels)
    : sound_(sound)
    , channels_(channels) {
    const std::string path = sound.directory() + "/" + name;
    sound.control({"load-module", "module-pipe-source", "source_name=" + name, "file=" + path,
                   "format=float32le", "rate=48000", "channels=" + std::to_string(channels)});
    sound.control({"set-default-source", name});
    pipe_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (pipe_ < 0)
        throw std::runtime_error("cannot speak into " + path);
}

PipeMicrophone::~PipeMicrophone() {
    close(pipe_);
}

void PipeMicrophone::speak(const std::vector<float>& samples) {
    std::vector<float> interleaved;
    for (const float sample : samples) {
        for (int channel = 0; channel < channels_; ++channel)
            interleaved.push_back(channel == 0 ? sample : -sample);
    }
    const auto* bytes = reinterpret_cast<const char*>(interleaved.data());
    std::size_t left = interleaved.size() * sizeof(float);
    while (left > 0) {
        const auto count = write(pipe_, bytes, left);
        if (count <= 0)
            throw std::runtime_error("the microphone does not listen");
        bytes += count;
        left -= static_cast<std::size_t>(count);
    }
}

void PipeMicrophone::unplug() {
    sound_.control({"unload-module", "module-pipe-source"});
}

} // namespace sonvale::tests
