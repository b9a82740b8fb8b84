#include "tests/unit/core/CoreFixture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace sonvale::tests {

namespace {

std::string nameOf(platform::RecordingState state) {
    switch (state) {
    case platform::RecordingState::idle:
        return "idle";
    case platform::RecordingState::recording:
        return "recording";
    case platform::RecordingState::processing:
        return "processing";
    case platform::RecordingState::processingHandsFree:
        return "processingHandsFree";
    }
    return {};
}

/// Keeps the controller while it handles the event, as the listener's tasks do.
runtime::Task<> handle(std::shared_ptr<core::AppState> state, hotkeys::HotkeyAction action,
                       hotkeys::HotkeyEventType event) {
    co_await state->handleHotkey(action, event);
}

} // namespace

CoreFixture::CoreFixture() {
    previousSinks_ = base::setLogSinks({
        .logger = [this](const base::LogLine& line) { noteLog(line); },
        .system = [this](std::string_view line) { systemLines.emplace_back(line); },
        .perf = [this](std::string_view line) { notePerf(std::string(line)); },
    });
    panel_.setOnChange([this](std::optional<platform::RecordingState> state) {
        note(state ? "show " + nameOf(*state) : "hide");
    });
    players_.control().setOnToggle([this] { note("media"); });
    std::filesystem::create_directory(directory_.path() + "/recordings");
    settings_ = std::make_unique<persistence::Settings>(directory_.path() + "/defaults.json");
    auditLogger_ = std::make_unique<persistence::AuditLogger>(runtime_.makeSerialActor("audit"),
                                                              runtime_.clock(), directory_.path());
    store_ = persistence::ModelContainer::openInMemory();
    input_.control().setOnPress([this](FakeSyntheticInput::Press press) {
        if (press == FakeSyntheticInput::Press::paste)
            pasted_.push_back(pasteboard().text().value_or("nothing"));
    });
    rebuildState();
}

CoreFixture::~CoreFixture() {
    subscriptions_.clear();
    state_.reset();
    runtime_.endTasks();
    base::setLogSinks(std::move(previousSinks_));
}

core::Environment CoreFixture::environment() {
    return core::Environment{
        .main = runtime_.main(),
        .pool = runtime_.pool(),
        .makeSerialActor = [this](std::string name) { return runtime_.makeSerialActor(std::move(name)); },
        .clock = runtime_.clock(),
        .directories = {.applicationSupport = directory_.path(),
                        .configuration = directory_.path(),
                        .temporary = directory_.path() + "/recordings",
                        .executable = directory_.path()},
        .addresses = addresses,
        .version = "2.3.4",
        .settings = *settings_,
        .auditLogger = *auditLogger_,
        .eventTap = tap_,
        .syntheticInput = input_,
        .pasteboard = pasteboard_,
        .workspace = workspace_,
        .accessibilityTree = accessibility_,
        .audioEngines = engines_,
        .audioFiles = audioFiles_,
        .sampleRateConverters = converters_,
        .captureAuthorization = capture_,
        .speechRecognizers = recognizers_,
        .secureRandom = random_,
        .urlSessions = urlSessions_,
        .pathMonitor = pathMonitor_,
        .mediaPlayers = players_,
        .sessionLock = sessionLock_,
        .floatingPanel = panel_,
        .application = application_,
        .nativeKeys = nativeKeys_,
        .loginItem = loginItem_,
        .updater = updater_,
        .currentLocale = [] { return std::string("en-US"); },
        .currentDateLocale = [] { return std::string("en-US"); },
        .areModifiersShared = areModifiersShared,
    };
}

void CoreFixture::rebuildState() {
    subscriptions_.clear();
    state_.reset();
    state_ = core::AppState::make(environment());
    state_->modelContext = &store_->mainContext();
    observeState();
}

void CoreFixture::observeState() {
    subscriptions_.push_back(state_->recordingState.subscribe(
        [this](platform::RecordingState now) { note("state " + nameOf(now)); }));
    subscriptions_.push_back(
        state_->errorMessage.subscribe([this](const std::optional<std::string>& message) {
            note(message ? "error: " + *message : "no error");
        }));
}

void CoreFixture::notePerf(const std::string& line) {
    perfLines.push_back(line);
    note(line.starts_with("[PERF] Pre-warm session: ") ? "pre-warm" : line.substr(0, line.find(": ")));
}

void CoreFixture::noteLog(const base::LogLine& line) {
    logLines.push_back(line);
    if (line.text.ends_with("Pre-warm skipped — session already active"))
        note("pre-warm");
    else if (line.text.ends_with("Cancelling session"))
        note("session closed");
}

void CoreFixture::completeOnboardingAndStart() {
    runtime_.main().post([this] { state_->completeOnboarding(); });
    runtime_.runUntilIdle();
    tap().runBlocks();
}

void CoreFixture::deliver(hotkeys::HotkeyAction action, hotkeys::HotkeyEventType event) {
    runtime::spawn(runtime_.main(), handle(state_, action, event));
    runtime_.runUntilIdle();
}

void CoreFixture::speak(double seconds, float loudness) {
    microphone().speak(std::vector<float>(static_cast<std::size_t>(seconds * 48000), loudness));
    advance(seconds);
}

void CoreFixture::dictate(const std::string& text) {
    recognizer().answerWith(text);
    press(hotkeys::HotkeyAction::pushToTalk);
    speak(0.1);
    release(hotkeys::HotkeyAction::pushToTalk);
    settle();
}

std::vector<persistence::Transcription> CoreFixture::history() {
    return store_->mainContext().fetch<persistence::Transcription>();
}

std::vector<std::string> CoreFixture::auditLines() {
    runtime_.runUntilIdle();
    std::ifstream file(directory_.path() + "/com.sonvale.app/audit.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

bool CoreFixture::auditHas(const std::string& event, const std::string& resource,
                           const std::string& details) {
    return std::ranges::any_of(auditLines(), [&](const std::string& line) {
        const auto entry = nlohmann::json::parse(line);
        return entry.at("eventType") == event && entry.at("resource") == resource &&
               entry.at("metadata").value("errorDetails", "") == details;
    });
}

std::size_t CoreFixture::recordingsLeft() const {
    using Files = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Files(directory_.path() + "/recordings"), Files()));
}

bool CoreFixture::systemHas(const std::string& line) const {
    return std::ranges::find(systemLines, line) != systemLines.end();
}

} // namespace sonvale::tests
