#include "base/Dates.h"
#include "persistence/Settings.h"
#include "persistence/SettingsKeys.h"
#include "tests/cases/runner/CaseInput.h"
#include "tests/support/ChildProcess.h"
#include "ui/common/Languages.h"
#include "ui/home/HistoryStats.h"
#include "ui/indicator/RingGeometry.h"
#include "ui/login/LoginCheck.h"
#include "ui/menu/MenuStatus.h"
#include "ui/onboarding/OnboardingStep.h"
#include "ui/scratchpad/ScratchpadText.h"
#include "ui/snippets/SnippetSearch.h"
#include "ui/style/FormalityText.h"

#include <fstream>
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

/// Returns an index of the ring's layers or points.
int index(const json& in, const char* name, int count) {
    const auto value = integer(in, name);
    if (value < 0 || value >= count)
        throw BadCase(std::string("\"") + name + "\" is out of range");
    return static_cast<int>(value);
}

/// Returns what the settings read for a value that a user wrote into their file.
std::optional<std::int64_t> storedStep(const json& value) {
    const TemporaryDirectory folder;
    const auto file = folder.path() + "/defaults.json";
    json content = json::object();
    if (!value.is_null())
        content[std::string(persistence::keys::onboardingStep.name)] = value;
    std::ofstream(file) << content;
    return persistence::Settings(file).stored(persistence::keys::onboardingStep);
}

base::Date date(const json& in, const char* name) {
    return known(base::parseIso8601(text(in, name)), std::string("date in \"") + name + "\"");
}

json ring(const json& in) {
    const auto point = ui::ringPoint(
        recordingState(in), static_cast<float>(number(in, "audioLevel")), number(in, "t"),
        number(in, "width"), index(in, "layer", ui::ringLayerCount), index(in, "point", ui::ringPointCount));
    return json{{"x", point.x}, {"y", point.y}};
}

json loginCheck(const json& in) {
    const auto message = ui::loginCheck({.email = text(in, "email"),
                                         .password = text(in, "password"),
                                         .confirmPassword = text(in, "confirmPassword"),
                                         .isSignUp = boolean(in, "isSignUp")});
    return message ? json(*message) : json();
}

json stats(const json& in) {
    ui::HistoryStats stats(text(in, "timeZone"));
    for (const auto& row : array(in, "rows"))
        stats.add(date(row, "timestamp"), integer(row, "wordCount"), number(row, "durationSeconds"));
    return json{{"days", stats.days()}, {"words", stats.words()}, {"wpm", stats.wordsPerMinute()}};
}

json snippetSearch(const json& in) {
    auto shown = json::array();
    for (const auto& each : array(in, "snippets")) {
        persistence::Snippet snippet;
        snippet.trigger = text(each, "trigger");
        snippet.content = text(each, "content");
        if (ui::matchesSearch(snippet, text(in, "searchText")))
            shown.push_back(snippet.trigger);
    }
    return shown;
}

} // namespace

void addInterfaceCases(CaseRegistry& registry) {
    registry["ring"] = ring;
    registry["onboardingStep"] = [](const json& in) {
        return json(ui::caseName(ui::onboardingStepAtStart(storedStep(field(in, "stored")))));
    };
    registry["loginCheck"] = loginCheck;
    registry["menuStatus"] = [](const json& in) { return json(ui::menuStatus(recordingState(in))); };
    registry["languageName"] = [](const json& in) { return json(ui::languageName(text(in, "code"))); };
    registry["scratchpadWords"] = [](const json& in) { return json(ui::scratchpadWords(text(in, "text"))); };
    registry["stats"] = stats;
    registry["daySection"] = [](const json& in) {
        const auto section = ui::daySection(date(in, "timestamp"), date(in, "now"), text(in, "timeZone"));
        return section ? json(*section) : json();
    };
    registry["formalityText"] = [](const json& in) {
        return json(ui::formalityText(integer(in, "formality")));
    };
    registry["snippetSearch"] = snippetSearch;
}

} // namespace sonvale::tests
