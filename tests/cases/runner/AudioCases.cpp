#include "audio/Level.h"
#include "tests/cases/runner/CaseInput.h"

#include <algorithm>
#include <cstddef>

namespace sonvale::tests {

using nlohmann::json;

namespace {

/// The first channel decides the length; the others are cut or filled with silence.
platform::PcmBuffer buffer(const json& channels) {
    const auto isChannel = [](const json& channel) {
        return channel.is_array() &&
               std::ranges::all_of(channel, [](const json& sample) { return sample.is_number(); });
    };
    if (!std::ranges::all_of(channels, isChannel))
        throw BadCase("\"channels\" are no arrays of numbers");

    const auto frames = channels.empty() ? 0 : channels.front().size();
    platform::PcmBuffer pcm({48000, static_cast<std::uint32_t>(channels.size())}, frames);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const auto count = std::min(frames, channels[i].size());
        for (std::size_t k = 0; k < count; ++k)
            pcm.channel(i)[k] = channels[i][k].get<float>();
    }
    return pcm;
}

} // namespace

void addAudioCases(CaseRegistry& registry) {
    registry["level"] = [](const json& in) { return audio::level(buffer(array(in, "channels"))); };
}

} // namespace sonvale::tests
