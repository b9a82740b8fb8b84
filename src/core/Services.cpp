#include "core/Services.h"

#include "insertion/ClipboardManager.h"
#include "persistence/SettingsKeys.h"
#include "transcription/AppleSpeechEngine.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "transcription/WhisperCloudEngine.h"

#include <optional>
#include <string>
#include <utility>

namespace sonvale::core {

namespace keys = persistence::keys;
using transcription::TranscriptionManager;

namespace {

runtime::Task<std::optional<std::string>> given(std::string value) {
    co_return value;
}

/// Returns the key of the direct path, or the user's own token.
services::TokenProvider makeTokenProvider(const Environment& e,
                                          const std::shared_ptr<services::AuthService>& auth) {
    if (const auto& key = e.addresses.key)
        return [key = *key] { return given(key); };
    return [auth] { return auth->validAccessToken(); };
}

std::shared_ptr<services::PermissionsManager> makePermissionsManager(const Environment& e) {
    return std::make_shared<services::PermissionsManager>(services::PermissionsManager::Parts{
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
}

std::shared_ptr<TranscriptionManager> makeTranscriptionManager(const Environment& e,
                                                               const services::TokenProvider& tokenProvider) {
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
    return std::make_shared<TranscriptionManager>(std::move(cloud), std::move(realtime));
}

textprocessing::OpenAIChatClient makeChatClient(const Environment& e,
                                                const services::TokenProvider& tokenProvider) {
    return textprocessing::OpenAIChatClient({
        .pool = e.pool,
        .clock = e.clock,
        .urlSession = std::make_shared<services::SharedUrlSession>(e.urlSessions),
        .auditLogger = e.auditLogger,
        .addresses = e.addresses,
        .tokenProvider = tokenProvider,
    });
}

} // namespace

Services::Services(const Environment& environment)
    : contextBuilder(textprocessing::FocusedAppDetector(environment.workspace))
    , hasKey_(environment.addresses.key.has_value()) {
    const auto& e = environment;
    audioRecorder =
        std::make_shared<audio::AudioRecorder>(e.main, e.clock, e.audioEngines, e.audioFiles, e.secureRandom,
                                               e.directories.temporary, e.auditLogger);
    hotkeyManager = std::make_shared<hotkeys::HotkeyManager>(e.main, e.clock, e.eventTap);
    // Insertions and reading a selection use the same pasteboard.
    const auto insertionActor = e.makeSerialActor("TextInserter");
    textInserter = std::make_shared<insertion::TextInserter>(
        insertionActor, e.clock, insertion::ClipboardManager(e.pasteboard), e.syntheticInput);
    permissionsManager = makePermissionsManager(e);
    connectivityMonitor = std::make_unique<services::ConnectivityMonitor>(e.main, e.pathMonitor);
    selectedTextReader = std::make_unique<insertion::SelectedTextReader>(
        insertionActor, e.clock, e.accessibilityTree, e.pasteboard, e.syntheticInput);
    systemAudioController = std::make_unique<audio::SystemAudioController>(e.mediaPlayers);
    voiceActivityDetector = std::make_unique<audio::VoiceActivityDetector>(e.clock);

    e.settings.registerDefaults();

    authService = std::make_shared<services::AuthService>(services::AuthService::Parts{
        .main = e.main,
        .clock = e.clock,
        .urlSessions = e.urlSessions,
        .settings = e.settings,
        .addresses = e.addresses,
    });
    const auto tokenProvider = makeTokenProvider(e, authService);
    transcriptionManager = makeTranscriptionManager(e, tokenProvider);

    const auto chatClient = makeChatClient(e, tokenProvider);
    postProcessor = std::make_unique<textprocessing::PostProcessor>(chatClient);
    commandProcessor = std::make_unique<textprocessing::CommandProcessor>(chatClient, e.auditLogger);

    transcriptionManager->localEngine.set(
        std::make_shared<transcription::AppleSpeechEngine>(e.speechRecognizers, e.currentLocale));
    transcriptionManager->preferredEngine =
        transcription::preferenceAtStart(e.settings.stored(keys::transcriptionEngine));
    if (e.settings.read(keys::localOnlyMode))
        transcriptionManager->preferredEngine = transcription::TranscriptionEnginePreference::local;
}

} // namespace sonvale::core
