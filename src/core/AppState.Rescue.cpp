#include "core/AppState.h"

#include "base/Log.h"
#include "base/Text.h"
#include "persistence/SettingsKeys.h"
#include "transcription/TranscriptionError.h"

#include <utility>

// What becomes of speech whose text cannot be typed any more: it goes to the history and to paste-last, and a
// recording that the service gave no text for is transcribed from its file. Nothing here types: by then the
// user may be in another application.

namespace sonvale::core {

namespace keys = persistence::keys;

namespace {

/// Loudness (RMS) from which a recording may hold speech. Far below the detector's own thresholds, so that a
/// microphone that is turned down costs no words.
constexpr float faintestSpeech = 0.002F;

} // namespace

void AppState::noteLevel(float level) {
    recording_->isSpeechHeard = recording_->isSpeechHeard || level >= faintestSpeech;
}

/// From here on only new speech counts. The level of this moment is new speech too.
void AppState::forgetSpeech() {
    recording_->isSpeechHeard = false;
    noteLevel(audioRecorder->audioLevel.get());
}

void AppState::keepText(const std::string& text) {
    if (base::trimmed(text).empty())
        return;
    if (!environment_.settings.read(keys::privacyModeEnabled) && modelContext)
        recordHistory(text, text);
    untypedText_ += untypedText_.empty() ? text : " " + text;
    lastTranscription = untypedText_;
}

/// Closes the microphone of a recording whose end still waits for the service. That end finds the file.
void AppState::closePrevious() {
    audioRecorder->stopRecording();
    if (auto file = audioRecorder->forceStop())
        recording_->closedFile.emplace(*std::move(file), environment_.secureRandom);
}

/// Ends the capture, unless it is that of a later recording, and takes the file.
std::optional<RecordingFile> AppState::endCapture(Recording& recording) {
    if (recording.closedFile || !isPresent(recording))
        return std::exchange(recording.closedFile, std::nullopt);
    auto file = audioRecorder->forceStop();
    audioRecorder->cleanupRecording();
    if (!file)
        return std::nullopt;
    return RecordingFile(*std::move(file), environment_.secureRandom);
}

/// Ends the capture and transcribes its file, with the one before it if that one holds the beginning.
void AppState::rescueRecording(Recording& recording) {
    const bool isSpeechHeard = recording.isSpeechHeard;
    auto file = endCapture(recording);
    if (auto before = std::exchange(recording.overlappingSegment, std::nullopt))
        rescue(*std::move(before), recording.isLocalOnly);
    if (file && isSpeechHeard)
        rescue(*std::move(file), recording.isLocalOnly);
}

/// Transcribes a recording in a task of its own, so that neither the microphone nor the next utterance waits.
/// The recordings come one after the other, so that the history has them in the order in which they were
/// spoken.
void AppState::rescue(RecordingFile file, bool isLocalOnly) {
    base::Logger("AppState").info("Transcribing a recording that the service gave no text for");
    rescue_ =
        runtime::spawn(environment_.main, transcribeLost(rescue_, weak_from_this(), transcriptionManager,
                                                         std::move(file), isLocalOnly));
}

/// Owns the file, which goes with this task however it ends: with a text, with a failure, or cancelled when
/// the program quits.
runtime::Task<> AppState::transcribeLost(runtime::TaskHandle<> previous, std::weak_ptr<AppState> weakSelf,
                                         std::shared_ptr<transcription::TranscriptionManager> manager,
                                         RecordingFile file, bool isLocalOnly) {
    if (previous)
        co_await previous.value();
    if (weakSelf.expired())
        co_return;
    std::string text;
    try {
        text = pieceOf(co_await transcribe(*manager, file.path(), isLocalOnly));
    } catch (const std::exception& error) {
        base::Logger("AppState").error("The recording gave no text: {}", transcription::failureKind(error));
    }
    if (const auto self = weakSelf.lock())
        self->keepText(text);
}

/// What was recorded in local-only mode stays on this machine, also when the mode has been left since.
runtime::Task<std::string> AppState::transcribe(transcription::TranscriptionManager& manager,
                                                std::filesystem::path file, bool isLocalOnly) {
    return isLocalOnly ? manager.transcribeOnDevice(std::move(file), std::nullopt)
                       : manager.transcribe(std::move(file), std::nullopt);
}

} // namespace sonvale::core
