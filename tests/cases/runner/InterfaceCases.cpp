#include "tests/cases/runner/CaseInput.h"
#include "ui/RingGeometry.h"

#include <map>

namespace sonvale::tests {

using nlohmann::json;

namespace {

platform::RecordingState recordingState(const json& in) {
    using platform::RecordingState;
    static const std::map<std::string, RecordingState> states{
        {"idle", RecordingState::idle},
        {"recording", RecordingState::recording},
        {"processing", RecordingState::processing},
        {"processingHandsFree", RecordingState::processingHandsFree},
    };
    const auto state = states.find(text(in, "state"));
    if (state == states.end())
        throw BadCase("unknown state");
    return state->second;
}

/// An index of the ring's layers or points.
int index(const json& in, const char* name, int count) {
    const auto value = integer(in, name);
    if (value < 0 || value >= count)
        throw BadCase(std::string("\"") + name + "\" is out of range");
    return static_cast<int>(value);
}

} // namespace

void addInterfaceCases(CaseRegistry& registry) {
    registry["ring"] = [](const json& in) {
        const auto point =
            ui::ringPoint(recordingState(in), static_cast<float>(number(in, "audioLevel")), number(in, "t"),
                          number(in, "width"), index(in, "layer", ui::ringLayerCount),
                          index(in, "point", ui::ringPointCount));
        return json{{"x", point.x}, {"y", point.y}};
    };
}

} // namespace sonvale::tests
