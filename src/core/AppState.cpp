#include "core/AppState.h"

#include "base/Locale.h"
#include "base/Log.h"
#include "insertion/ClipboardManager.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"
#include "transcription/AppleSpeechEngine.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "transcription/WhisperCloudEngine.h"

namespace sonvale::core {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using hotkeys::HotkeyEventType;

namespace {

/// How often the ring takes over the loudness of the voice.
constexpr double levelUpdatePeriod = 0.033;

runtime::Task<std::optional<std::string>> given(std::string value) {
    co_return value;
}

runtime::Task<> dispatch(std::weak_ptr<AppState> weakSelf, HotkeyAction action, HotkeyEventType event) {
    if (const auto self = weakSelf.lock())
        co_await self->handleHotkey(action, event);
}

} // namespace

std::shared_ptr<AppState> AppState::make(const Environment& environment) {
    const std::shared_ptr<AppState> state(new AppState(environment));
    state->connect();
    return state;
}

AppState::AppState(const Environment& environment)
    : contextBuilder(textprocessing::FocusedAppDetector(environment.workspace))
    , environment_(environment)
    , chatSession_(std::make_shared<services::SharedUrlSession>(environment.urlSessions)) {
    auto& e = environment_;
    audioRecorder =
        std::make_shared<audio::AudioRecorder>(e.main, e.clock, e.audioEngines, e.audioFiles, e.secureRandom,
                                               e.directories.temporary, e.auditLogger);
    hotkeyManager = std::make_shared<hotkeys::HotkeyManager>(e.main, e.clock, e.eventTap);
    textInserter = std::make_shared<insertion::TextInserter>(e.makeSerialActor("TextInserter"), e.clock,
                                                             insertion::ClipboardManager(e.pasteboard),
                                                             e.syntheticInput);
    permissionsManager = std::make_shared<services::PermissionsManager>(
        e.captureAuthorization, e.accessibilityTree, e.eventTap, e.speechRecognizers);

    isOnboardingComplete = e.settings.read(keys::isOnboardingComplete);
    e.settings.registerDefaults();

    authService = std::make_shared<services::AuthService>(services::AuthService::Parts{
        .main = e.main,
        .clock = e.clock,
        .urlSessions = e.urlSessions,
        .settings = e.settings,
        .addresses = e.addresses,
    });
    transcriptionManager = makeTranscriptionManager();
    postProcessor = std::make_unique<textprocessing::PostProcessor>(makeChatClient());
    transcriptionManager->localEngine.set(
        std::make_shared<transcription::AppleSpeechEngine>(e.speechRecognizers, e.currentLocale));
    transcriptionManager->preferredEngine =
        transcription::preferenceAtStart(e.settings.stored(keys::transcriptionEngine));
    if (e.settings.read(keys::localOnlyMode))
        transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::local;
}

/// The key of the direct path, or the user's own token.
services::TokenProvider AppState::makeTokenProvider() const {
    if (const auto& key = environment_.addresses.key)
        return [key = *key] { return given(key); };
    return [auth = authService] { return auth->validAccessToken(); };
}

textprocessing::OpenAIChatClient AppState::makeChatClient() const {
    const auto& e = environment_;
    return textprocessing::OpenAIChatClient({
        .pool = e.pool,
        .clock = e.clock,
        .urlSession = chatSession_,
        .auditLogger = e.auditLogger,
        .addresses = e.addresses,
        .tokenProvider = makeTokenProvider(),
    });
}

std::shared_ptr<transcription::TranscriptionManager> AppState::makeTranscriptionManager() {
    auto& e = environment_;
    const auto tokenProvider = makeTokenProvider();
    auto cloud = std::make_shared<transcription::WhisperCloudEngine>(transcription::WhisperCloudEngine::Parts{
        .pool = e.pool,
        .clock = e.clock,
        .urlSessions = e.urlSessions,
        .auditLogger = e.auditLogger,
        .addresses = e.addresses,
        .tokenProvider = tokenProvider,
    });
    auto realtime = std::make_shared<transcription::RealtimeTranscriptionEngine>(
        transcription::RealtimeTranscriptionEngine::Parts{
            .pool = e.pool,
            .sending = e.makeSerialActor("RealtimeSTT"),
            .clock = e.clock,
            .urlSessions = e.urlSessions,
            .converters = e.sampleRateConverters,
            .addresses = e.addresses,
            .tokenProvider = tokenProvider,
            .language = [&settings = e.settings] { return settings.stored(keys::language); },
        });
    return std::make_shared<transcription::TranscriptionManager>(std::move(cloud), std::move(realtime));
}

void AppState::connect() {
    const auto weak = weak_from_this();
    hotkeyManager->setOnAction([weak, main = environment_.main](HotkeyAction action, HotkeyEventType event) {
        runtime::spawn(main, dispatch(weak, action, event));
    });
    environment_.eventTap.setOnTaken([weak, main = environment_.main](platform::KeyCombination combination) {
        main.post([weak, combination] {
            if (const auto self = weak.lock())
                self->surfaceTakenShortcut(combination);
        });
    });
    permissionsManager->onPermissionGranted = [weak] {
        if (const auto self = weak.lock())
            self->startHotkeysIfReady();
    };
}

runtime::Task<> AppState::handleHotkey(HotkeyAction action, HotkeyEventType event) {
    const bool isDown = event == HotkeyEventType::down;
    switch (action) {
    case HotkeyAction::pushToTalk:
    // Without a selection to rewrite, a command is a plain dictation.
    case HotkeyAction::commandMode:
        co_await (isDown ? startDictation() : stopDictation());
        break;
    case HotkeyAction::pasteLastTranscript:
        if (isDown)
            pasteLastTranscript();
        break;
    case HotkeyAction::cancel:
        if (isDown)
            co_await cancelDictation();
        break;
    case HotkeyAction::handsFree:
        break;
    }
}

runtime::Task<> AppState::startDictation() {
    environment_.main.assertCurrent();
    const double startTime = environment_.clock.now();
    if (recordingState.get() != RecordingState::idle)
        co_return;

    dictationTargetApp = contextBuilder.focusedAppDetector.detect();

    recordingState = RecordingState::recording;
    errorMessage = std::nullopt;

    environment_.floatingPanel.show(RecordingState::recording, 0);

    // No suspension until the recorder runs, so that no other event can slip in between.
    try {
        // After a cancel the service may still be waited for, with the microphone open.
        if (audioRecorder->isRecording.get()) {
            audioRecorder->stopRecording();
            audioRecorder->cleanupRecording();
        }
        audioRecorder->startRecording();
    } catch (const std::exception& error) {
        failToStart(error.what());
        co_return;
    }

    environment_.auditLogger.logRecordingStarted();
    co_await startEngine();

    base::perfLog(
        fmt::format("startDictation total: {}ms", runtime::millisecondsSince(environment_.clock, startTime)));

    runtime::spawn(environment_.main, updateLevels(weak_from_this(), &environment_.clock));
}

runtime::Task<> AppState::startEngine() {
    if (transcriptionManager->isStreamingPreferred()) {
        try {
            co_await transcriptionManager->startStreaming(audioRecorder);
            co_return;
        } catch (const std::exception&) {
            // The recording goes on: the text then comes from its file.
        }
    }
    transcriptionManager->prepareLocalEngine();
}

void AppState::failToStart(const std::string& description) {
    recordingState = RecordingState::idle;
    surfaceError("Failed to start recording: " + description);
    environment_.auditLogger.logError("audioRecorder", "recording-start-failed");
    environment_.floatingPanel.hide();
}

runtime::Task<> AppState::updateLevels(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock) {
    while (true) {
        {
            const auto self = weakSelf.lock();
            if (!self || self->recordingState.get() != RecordingState::recording)
                co_return;
            self->environment_.floatingPanel.setLevel(self->audioRecorder->audioLevel.get());
        }
        if (co_await runtime::sleep(*clock, levelUpdatePeriod) == runtime::SleepOutcome::interrupted)
            co_return;
    }
}

runtime::Task<> AppState::stopDictation() {
    environment_.main.assertCurrent();
    const double stopTime = environment_.clock.now();
    if (recordingState.get() != RecordingState::recording)
        co_return;

    recordingState = RecordingState::processing;
    environment_.floatingPanel.show(RecordingState::processing, 0);

    std::optional<std::string> text;
    if (transcriptionManager->isStreamingPreferred())
        text = co_await finalizeStream();

    const auto file = audioRecorder->stopRecording();
    if (!file) {
        endWithoutAudio();
        co_return;
    }

    std::optional<std::string> failure;
    if (!text) {
        try {
            text = co_await transcriptionManager->transcribe(*file, std::nullopt);
        } catch (const std::exception& error) {
            failure = error.what();
        }
    }

    if (failure)
        endAfterFailedTranscription(*failure, stopTime);
    else {
        audioRecorder->cleanupRecording();
        co_await finishTranscript(*std::move(text), stopTime);
    }
}

/// The text of the running session; absent when the file has to give it.
runtime::Task<std::optional<std::string>> AppState::finalizeStream() {
    const auto engine = transcriptionManager->realtimeEngine;
    // What is said from here on belongs to no dictation, and the session may serve the next one.
    audioRecorder->setOnBuffer(nullptr);

    const double startTime = environment_.clock.now();
    std::optional<std::string> text;
    std::string remark;
    try {
        text = co_await engine->finalizeStreamingTranscription();
    } catch (const std::exception& error) {
        remark = fmt::format(" (failed: {})", error.what());
    }
    base::perfLog(fmt::format("stopDictation → finalize: {}ms{}",
                              runtime::millisecondsSince(environment_.clock, startTime), remark));
    // A transcript that comes after all must not turn up in the next text.
    if (!text)
        engine->cancelSession();
    co_return text;
}

void AppState::endWithoutAudio() {
    audioRecorder->cleanupRecording();
    recordingState = RecordingState::idle;
    surfaceError("No audio recorded.");
    environment_.floatingPanel.hide();
}

void AppState::endAfterFailedTranscription(const std::string& description, double stopTime) {
    audioRecorder->cleanupRecording();
    surfaceError("Transcription failed: " + description);
    environment_.auditLogger.logError("transcription", "transcription-failed");
    recordingState = RecordingState::idle;
    environment_.floatingPanel.hide();
    preWarmEngine();
    printStopTotal(stopTime);
}

runtime::Task<> AppState::cancelDictation() {
    environment_.main.assertCurrent();
    if (recordingState.get() == RecordingState::recording) {
        // Whatever the service has heard of it must not turn up in the next text.
        if (transcriptionManager->isStreamingPreferred())
            transcriptionManager->realtimeEngine->cancelSession();
        audioRecorder->stopRecording();
        audioRecorder->cleanupRecording();
    }

    recordingState = RecordingState::idle;
    errorMessage = std::nullopt;
    environment_.floatingPanel.hide();
    preWarmEngine();
    co_return;
}

void AppState::preWarmEngine() {
    preWarmTask_.cancel();
    preWarmTask_ = runtime::spawn(environment_.main, preWarm(weak_from_this()));
}

runtime::Task<> AppState::preWarm(std::weak_ptr<AppState> weakSelf) {
    std::shared_ptr<transcription::TranscriptionManager> manager;
    platform::AudioFormat format;
    {
        const auto self = weakSelf.lock();
        if (!self || !self->transcriptionManager->isStreamingPreferred())
            co_return;
        manager = self->transcriptionManager;
        const auto* capture = self->audioRecorder->audioEngine();
        format =
            capture ? capture->outputFormat() : self->environment_.audioEngines.makeEngine()->outputFormat();
    }
    if (format.channelCount > 0)
        co_await manager->preWarm(format);
}

void AppState::pasteLastTranscript() {
    if (!lastTranscription->empty())
        runtime::spawn(environment_.main, insertLast(shared_from_this()));
}

runtime::Task<> AppState::insertLast(std::shared_ptr<AppState> self) {
    co_await self->textInserter->insert(self->lastTranscription.get());
}

void AppState::surfaceError(const std::string& message) {
    // Without a panel for the menu the log is where the user can find out.
    if (errorMessage.set(message))
        base::Logger("AppState").error("{}", message);
}

void AppState::surfaceTakenShortcut(platform::KeyCombination combination) {
    surfaceError(hotkeys::HotkeyConfiguration::formatDisplayName(combination.keyCode, combination.modifiers) +
                 " is used by another program.");
}

} // namespace sonvale::core
