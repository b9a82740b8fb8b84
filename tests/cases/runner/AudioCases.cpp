#include "audio/Level.h"
#include "audio/VoiceActivityDetector.h"
#include "runtime/ManualClock.h"
#include "tests/cases/runner/CaseInput.h"

#include <algorithm>
#include <cstddef>

namespace sonvale::tests {

using nlohmann::json;

namespace {

/// The first channel determines the length; the others are cut or filled with silence.
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

void apply(audio::VoiceActivityDetector& detector, const json& sample) {
    if (!sample.contains("do")) {
        detector.process(static_cast<float>(number(sample, "level")));
        return;
    }
    const auto operation = text(sample, "do");
    if (operation == "stop")
        detector.stop();
    else if (operation == "start")
        detector.start();
    else if (operation == "resetForNextUtterance")
        detector.resetForNextUtterance();
    else
        throw BadCase("unknown operation \"" + operation + "\"");
}

json detect(const json& in) {
    runtime::ManualClock clock;
    audio::VoiceActivityDetector detector(clock);
    double now = 0;
    auto fired = json::array();
    detector.onEndOfUtterance = [&fired, &now] { fired.push_back(now); };
    detector.endOfUtteranceDelay = number(in, "delay");
    if (!in.contains("start") || boolean(in, "start"))
        detector.start();
    const double begin = clock.now();
    for (const auto& sample : array(in, "samples")) {
        const double at = number(sample, "at");
        if (at < now)
            throw BadCase("\"samples\" are not in order of time");
        clock.advance(begin + at - clock.now());
        now = at;
        apply(detector, sample);
    }
    return {{"fired", fired}, {"isSpeaking", detector.isSpeaking.get()}};
}

} // namespace

void addAudioCases(CaseRegistry& registry) {
    registry["level"] = [](const json& in) { return audio::level(buffer(array(in, "channels"))); };
    registry["voiceActivity"] = detect;
}

} // namespace sonvale::tests
