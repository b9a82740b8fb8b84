#include "audio/Level.h"
#include "tests/cases/runner/CaseInput.h"

#include <algorithm>
#include <cstddef>

namespace sonvale::tests {

using nlohmann::json;

namespace {

platform::PcmBuffer buffer(const json& channels) {
    const auto frames = channels.empty() ? 0 : channels.front().size();
    const auto isChannel = [frames](const json& channel) {
        return channel.is_array() && channel.size() == frames &&
               std::ranges::all_of(channel, [](const json& sample) { return sample.is_number(); });
    };
    if (!std::ranges::all_of(channels, isChannel))
        throw BadCase("\"channels\" are no equally long arrays of numbers");

    platform::PcmBuffer pcm({48000, static_cast<std::uint32_t>(channels.size())}, frames);
    for (std::size_t i = 0; i < channels.size(); ++i)
        std::ranges::transform(channels[i], pcm.channel(i).begin(),
                               [](const json& s) { return s.get<float>(); });
    return pcm;
}

} // namespace

void addAudioCases(CaseRegistry& registry) {
    registry["level"] = [](const json& in) { return audio::level(buffer(array(in, "channels"))); };
}

} // namespace sonvale::tests
