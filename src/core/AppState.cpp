#include "core/AppState.h"

#include "base/Locale.h"
#include "base/Log.h"
#include "insertion/ClipboardManager.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"
#include "transcription/AppleSpeechEngine.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "transcription/TranscriptionError.h"
#include "transcription/WhisperCloudEngine.h"

#include <utility>

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
    // Insertions and the reading of a selection use the same pasteboard.
    const auto insertionActor = e.makeSerialActor("TextInserter");
    textInserter = std::make_shared<insertion::TextInserter>(
        insertionActor, e.clock, insertion::ClipboardManager(e.pasteboard), e.syntheticInput);
    permissionsManager = std::make_shared<services::PermissionsManager>(services::PermissionsManager::Parts{
        .main = e.main,
        .pool = e.pool,
        .clock = e.clock,
        .captureAuthorization = e.captureAuthorization,
        .accessibilityTree = e.accessibilityTree,
        .eventTap = e.eventTap,
        .speechRecognizers = e.speechRecognizers,
        .workspace = e.workspace,
        .requestSpeechAuthorization =
            [&recognizers = e.speechRecognizers] {
                return transcription::AppleSpeechEngine::requestAuthorization(recognizers);
            },
    });
    connectivityMonitor = std::make_unique<services::ConnectivityMonitor>(e.main, e.pathMonitor);
    selectedTextReader = std::make_unique<insertion::SelectedTextReader>(
        insertionActor, e.clock, e.accessibilityTree, e.pasteboard, e.syntheticInput);
    systemAudioController = std::make_unique<audio::SystemAudioController>(e.mediaPlayers);
    voiceActivityDetector = std::make_unique<audio::VoiceActivityDetector>(e.clock);

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
    commandProcessor = std::make_unique<textprocessing::CommandProcessor>(makeChatClient(), e.auditLogger);
    transcriptionManager->localEngine.set(
        std::make_shared<transcription::AppleSpeechEngine>(e.speechRecognizers, e.currentLocale));
    transcriptionManager->preferredEngine =
        transcription::preferenceAtStart(e.settings.stored(keys::transcriptionEngine));
    if (e.settings.read(keys::localOnlyMode))
        transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::local;
}

AppState::~AppState() {
    discardCapture(*recording_);
    resumeMedia();
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
    connectivityMonitor->setOnPathChange([weak] {
        const auto self = weak.lock();
        // A session in use finds out by itself.
        if (self && self->recordingState.get() == RecordingState::idle &&
            !self->audioRecorder->isRecording.get())
            self->transcriptionManager->realtimeEngine->closeReadySession();
    });
    permissionsManager->onPermissionGranted = [weak] {
        if (const auto self = weak.lock())
            self->startHotkeysIfReady();
    };
    observeDictating();
    observeLock();
    preferenceChange_ = transcriptionManager->preferredEngine.subscribe([weak](const auto&) {
        const auto self = weak.lock();
        if (self && !self->transcriptionManager->isStreamingPreferred())
            self->stopStreaming();
    });
    levelChange_ = audioRecorder->audioLevel.subscribe([weak](float level) {
        if (const auto self = weak.lock())
            self->noteLevel(level);
    });
}

runtime::Task<> AppState::handleHotkey(HotkeyAction action, HotkeyEventType event) {
    const bool isDown = event == HotkeyEventType::down;
    // The listener hears keys on the lock screen too.
    if (isDown && isScreenLocked_)
        co_return;
    if (event == HotkeyEventType::discarded) {
        co_await handleDiscardedPress();
        co_return;
    }
    if (isDown)
        isRecordingOfPress_ = recordingState.get() == RecordingState::idle;
    switch (action) {
    case HotkeyAction::pushToTalk:
        if (isDown)
            co_await (isHandsFreeMode.get() ? stopHandsFreeMode() : startDictation());
        else if (!isHandsFreeMode.get())
            co_await stopDictation();
        break;
    case HotkeyAction::commandMode:
        if (isDown) {
            forceCommandMode = true;
            co_await startDictation();
        } else if (!isHandsFreeMode.get()) {
            co_await stopDictation();
        }
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
        if (isDown)
            co_await (isHandsFreeMode.get() ? stopHandsFreeMode() : startHandsFreeMode());
        break;
    }
}

runtime::Task<> AppState::startDictation() {
    environment_.main.assertCurrent();
    const double startTime = environment_.clock.now();
    if (recordingState.get() != RecordingState::idle || isScreenLocked_)
        co_return;

    dictationTargetApp = contextBuilder.focusedAppDetector.detect();
    if (forceCommandMode.get()) {
        const auto discardedBefore = discardedPresses_;
        auto selection = co_await readSelection();
        forceCommandMode = false;
        // Another start, or the end of the press, may have come in between.
        const bool isGivenUp = discardedPresses_ != discardedBefore || isScreenLocked_;
        if (recordingState.get() != RecordingState::idle || isGivenUp)
            co_return;
        selectedTextForCommand = std::move(selection);
    } else {
        selectedTextForCommand = std::nullopt;
    }

    recordingState = RecordingState::recording;
    errorMessage = std::nullopt;
    pauseMedia();
    environment_.floatingPanel.show(RecordingState::recording, 0);

    // No suspension until the recorder runs, so that no other event can slip in between.
    try {
        startRecorder();
    } catch (const std::exception& error) {
        failToStart(error.what());
        co_return;
    }

    const auto recording = recording_;
    environment_.auditLogger.logRecordingStarted();
    textInserter->prepare();
    const bool isStreamed = co_await startEngine();
    // This recording may have been cancelled meanwhile and another one started, which has a start of its own.
    if (!isPresent(*recording))
        co_return;
    if (!isStreamed) {
        transcriptionManager->prepareLocalEngine();
        if (isHandsFreeMode.get()) {
            failToConnect();
            co_return;
        }
    }

    base::perfLog(
        fmt::format("startDictation total: {}ms", runtime::millisecondsSince(environment_.clock, startTime)));
    if (!isHandsFreeMode.get() && recordingState.get() == RecordingState::recording &&
        transcriptionManager->realtimeEngine->hasReadySession())
        startLongFormTimer();
    runtime::spawn(environment_.main, updateLevels(weak_from_this(), &environment_.clock, recording));
    if (isHandsFreeMode.get())
        runtime::spawn(environment_.main, feedDetector(weak_from_this(), &environment_.clock, recording));
}

void AppState::startRecorder() {
    if (!isHandsFreeMode.get())
        untypedText_.clear();
    closePrevious();
    recording_ = std::make_shared<Recording>();
    recording_->isLocalOnly = environment_.settings.read(keys::localOnlyMode);
    audioRecorder->startRecording();
    forgetSpeech();
}

/// Whether the recording is streamed. When it is not, its file gives the text.
runtime::Task<bool> AppState::startEngine() {
    if (transcriptionManager->isStreamingPreferred()) {
        try {
            co_await transcriptionManager->startStreaming(audioRecorder);
            co_return true;
        } catch (const std::exception&) {
            // The manager has said why; the recording goes on.
        }
    }
    co_return false;
}

/// Hands-free dictation cannot go on without a session. What was said until now goes to the history.
void AppState::failToConnect() {
    audioRecorder->stopRecording();
    rescueRecording(*recording_);
    recordingState = RecordingState::idle;
    surfaceError(transcriptionManager->isStreamingPreferred()
                     ? "Unable to connect to the transcription service. Please try again."
                     : "Hands-free mode needs Streaming or Hybrid.");
    // A task of its own: the end of the mode waits for the utterance that may be waiting for this.
    runtime::spawn(environment_.main, leaveHandsFree(shared_from_this()));
}

void AppState::pauseMedia() {
    if (!environment_.settings.read(keys::pauseAudioDuringDictation) ||
        !systemAudioController->isMediaCurrentlyPlaying())
        return;
    systemAudioController->togglePlayPause();
    systemAudioController->didPauseMedia = true;
}

void AppState::resumeMedia() {
    if (std::exchange(systemAudioController->didPauseMedia, false))
        systemAudioController->togglePlayPause();
}

void AppState::failToStart(const std::string& description) {
    recordingState = RecordingState::idle;
    surfaceError("Failed to start recording: " + description);
    environment_.auditLogger.logError("audioRecorder", "recording-start-failed");
    resumeMedia();
    environment_.floatingPanel.hide();
    // Hands-free mode ends now, in the application that its text was typed into, and not with the next key.
    if (isHandsFreeMode.get())
        runtime::spawn(environment_.main, leaveHandsFree(shared_from_this()));
}

/// Whether no other recording has begun since.
bool AppState::isPresent(const Recording& recording) const {
    return &recording == recording_.get();
}

bool AppState::isRecording(const Recording& recording) const {
    return isPresent(recording) && recordingState.get() == RecordingState::recording;
}

runtime::Task<> AppState::updateLevels(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock,
                                       std::shared_ptr<Recording> recording) {
    while (true) {
        {
            const auto self = weakSelf.lock();
            if (!self || !self->isRecording(*recording))
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
    if (recordingState.get() != RecordingState::recording || isLeavingHandsFree_)
        co_return;

    recordingState = RecordingState::processing;
    environment_.floatingPanel.show(RecordingState::processing, 0);
    pttLongFormTimer_.cancel();
    pttLongFormTimer_ = {};
    const bool isLocalOnly = environment_.settings.read(keys::localOnlyMode);
    const auto recording = recording_;
    if (pttLongFormActive_) {
        co_await stopLongForm(recording, isLocalOnly, stopTime);
        co_return;
    }

    std::optional<std::string> text;
    if (transcriptionManager->isStreamingPreferred())
        text = co_await finalizeStream();

    using Tail = audio::AudioRecorder::Tail;
    std::optional<std::filesystem::path> file;
    if (recording->closedFile)
        file = recording->closedFile->path();
    else if (isPresent(*recording))
        file = audioRecorder->stopRecording(text ? Tail::drop : Tail::keep);
    if (!file) {
        endWithoutAudio(*recording, text);
        co_return;
    }

    if (!text) {
        try {
            text = co_await transcribe(*transcriptionManager, *file, recording->isLocalOnly);
        } catch (const std::exception& error) {
            audioRecorder->cleanupRecording(*file);
            endAfterFailedTranscription(*recording, error, stopTime);
            co_return;
        }
    }
    audioRecorder->cleanupRecording(*file);
    co_await finishTranscript(recording, *std::move(text), isLocalOnly, stopTime);
}

/// The text of the running session; absent when the file has to give it.
runtime::Task<std::optional<std::string>> AppState::finalizeStream() {
    const auto engine = transcriptionManager->realtimeEngine;
    // The last sounds before the key went up are still inside the input. What is said from here on belongs to
    // no dictation, and the session may serve the next one.
    audioRecorder->drain();
    audioRecorder->setOnBuffer(nullptr);
    // After a cancel the service may still work on the recording before.
    const auto turn = co_await commit_.lock();

    const double startTime = environment_.clock.now();
    std::optional<std::string> text;
    std::string remark;
    bool isCancelled = false;
    try {
        text = co_await engine->finalizeStreamingTranscription();
    } catch (const runtime::CancellationError& error) {
        isCancelled = true;
        remark = fmt::format(" (failed: {})", error.what());
    } catch (const std::exception& error) {
        remark = fmt::format(" (failed: {})", error.what());
    }
    base::perfLog(fmt::format("stopDictation → finalize: {}ms{}",
                              runtime::millisecondsSince(environment_.clock, startTime), remark));
    // A transcript that comes after all must not turn up in the next text. After a cancel the session that
    // stands now is another one.
    if (!text && !isCancelled)
        engine->cancelSession();
    co_return text;
}

/// The recorder has stopped by itself: a recording ends when its longest time is over, or that of an earlier
/// one. What the service or the file has of it is kept, though it is not typed.
void AppState::endWithoutAudio(Recording& recording, const std::optional<std::string>& text) {
    if (text) {
        keepText(*text);
        discardCapture(recording);
    } else {
        rescueRecording(recording);
    }
    endRecordingState(recording);
    surfaceError("No audio recorded.");
    resumeMedia();
    environment_.floatingPanel.hide();
}

void AppState::endAfterFailedTranscription(const Recording& recording, const std::exception& error,
                                           double stopTime) {
    // What a server answered is for the user alone, and may be long.
    surface(std::string("Transcription failed: ") + error.what(),
            "Transcription failed: " + transcription::failureKind(error));
    environment_.auditLogger.logError("transcription", "transcription-failed");
    selectedTextForCommand = std::nullopt;
    endRecordingState(recording);
    resumeMedia();
    if (!isHandsFreeMode.get()) {
        environment_.floatingPanel.hide();
        preWarmEngine();
    }
    printStopTotal(stopTime);
}

/// Goes idle at the end of a dictation. When that one had been cancelled, another may be recording by now:
/// it ends here too, as no key would end it any more, and what was said in it goes to the history. One whose
/// key is already up is left to its own end.
void AppState::endRecordingState(const Recording& recording) {
    const bool hasOwnEnd = !isPresent(recording) && recordingState.get() == RecordingState::processing;
    recordingState = RecordingState::idle;
    if (hasOwnEnd || !audioRecorder->isRecording.get())
        return;
    transcriptionManager->realtimeEngine->cancelSession();
    rescueRecording(*recording_);
}

runtime::Task<> AppState::cancelDictation() {
    environment_.main.assertCurrent();
    const bool wasHandsFree = isHandsFreeMode.get();
    if (wasHandsFree)
        co_await cancelHandsFree();
    else if (recordingState.get() == RecordingState::recording)
        co_await cancelRecording();
    else if (recordingState.get() == RecordingState::processing)
        cancelStalledEnd();

    forceCommandMode = false;
    selectedTextForCommand = std::nullopt;
    recordingState = RecordingState::idle;
    errorMessage = std::nullopt;
    resumeMedia();
    environment_.floatingPanel.hide();
    if (!wasHandsFree)
        preWarmEngine();
}

runtime::Task<> AppState::cancelHandsFree() {
    ++handsFreeRun_;
    transcriptionManager->realtimeEngine->cancelSession();
    recording_->overlappingSegment.reset();
    discardCapture(*recording_);
    isHandsFreeMode = false;
    endDetection();
    co_await cancelTyping(&AppState::handsFreePieces_);
    handsFreePieces_.forget();
}

runtime::Task<> AppState::cancelRecording() {
    ++pttCancellations_;
    co_await cancelTyping(&AppState::pttPieces_);
    resetPTTLongFormState();
    // Whatever the service has heard of it must not turn up in the next text.
    if (transcriptionManager->isStreamingPreferred())
        transcriptionManager->realtimeEngine->cancelSession();
    recording_->overlappingSegment.reset();
    audioRecorder->stopRecording();
    audioRecorder->cleanupRecording();
}

/// The dictation goes on with its file.
void AppState::cancelStalledEnd() {
    if (transcriptionManager->realtimeEngine->cancelUncommitted())
        closePrevious();
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
    co_await self->insertText(self->lastTranscription.get());
}

void AppState::copyText(std::string text) {
    runtime::spawn(environment_.main, copy(shared_from_this(), std::move(text)));
}

runtime::Task<> AppState::copy(std::shared_ptr<AppState> self, std::string text) {
    const auto turn = co_await self->insertion_.lock();
    co_await self->textInserter->copy(std::move(text));
}

void AppState::surfaceError(const std::string& message) {
    surface(message, message);
}

void AppState::surface(const std::string& message, const std::string& logText) {
    // Without a panel for the menu the log is where the user can find out.
    if (errorMessage.set(message))
        base::Logger("AppState").error("{}", logText);
}

void AppState::surfaceTakenShortcut(platform::KeyCombination combination) {
    surfaceError(hotkeys::HotkeyConfiguration::formatDisplayName(combination.keyCode, combination.modifiers) +
                 " is used by another program.");
}

} // namespace sonvale::core
