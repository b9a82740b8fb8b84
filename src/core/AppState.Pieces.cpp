#include "core/AppState.h"

#include "base/Text.h"
#include "core/TranscriptText.h"
#include "persistence/SecureDeletion.h"
#include "persistence/SettingsKeys.h"

// What hands-free and long-form dictation share: text that is typed piece by piece and cleaned as a whole.

namespace sonvale::core {

namespace keys = persistence::keys;

std::string AppState::pieceOf(const std::string& transcript) {
    return stripTrailingEllipsis(base::trimmed(transcript));
}

/// The text of what was said since the last piece; absent when the service gives none, or when the next
/// recording has the microphone and the session.
runtime::Task<std::optional<std::string>> AppState::finalizePiece(std::shared_ptr<Recording> recording) {
    // The service's answers do not say to which of two commits they belong.
    const auto turn = co_await commit_.lock();
    if (!isPresent(*recording))
        co_return std::nullopt;
    const auto engine = transcriptionManager->realtimeEngine;
    audioRecorder->drain();
    try {
        co_return co_await engine->finalizeStreamingTranscription();
    } catch (const std::exception&) {
        // The engine has logged why; both modes go on without the piece.
        co_return std::nullopt;
    }
}

void AppState::keepAndType(Pieces pieces, const std::string& text, std::string spaced) {
    if (!environment_.settings.read(keys::privacyModeEnabled) && modelContext)
        recordHistory(text, text);
    auto& chain = (this->*pieces).pendingInsertion;
    chain = runtime::spawn(environment_.main, typeAfter(chain, weak_from_this(), pieces, std::move(spaced)));
}

runtime::Task<> AppState::typeAfter(runtime::TaskHandle<> previous, std::weak_ptr<AppState> weakSelf,
                                    Pieces pieces, std::string text) {
    if (previous)
        co_await previous.value();
    const auto self = weakSelf.lock();
    if (!self)
        co_return;
    if (co_await self->insertText(std::move(text)))
        ++(self.get()->*pieces).insertionCount;
}

/// Waits for everything that is still to be typed, also for a piece that comes meanwhile.
runtime::Task<> AppState::finishTyping(Pieces pieces) {
    auto& chain = (this->*pieces).pendingInsertion;
    while (chain) {
        const auto newest = chain;
        co_await newest.value();
        if (chain.state() == newest.state())
            chain = {};
    }
}

/// As `finishTyping`, but the newest piece is given up unless it is being typed.
runtime::Task<> AppState::cancelTyping(Pieces pieces) {
    (this->*pieces).pendingInsertion.cancel();
    return finishTyping(pieces);
}

/// Replaces the pieces by the cleaned whole, where that is wanted.
runtime::Task<> AppState::finishPieces(Pieces pieces, bool isLocalOnly) {
    const auto finalText = base::trimmed((this->*pieces).accumulatedText);
    const auto count = (this->*pieces).insertionCount;
    if (isScreenLocked_ && !finalText.empty()) {
        // The pieces that were typed cannot be replaced now, and the others were not typed at all.
        setTranscription(finalText);
        co_return;
    }
    if (finalText.empty() || count < 1)
        co_return;
    environment_.floatingPanel.show(RecordingState::processingHandsFree, 0);
    if (!isCleanUpWanted(isLocalOnly)) {
        setTypedTranscription(finalText);
        co_return;
    }
    const auto result = co_await performBatchAICleanup(finalText, count, buildProcessingContext());
    setTypedTranscription(result);
    if (!environment_.settings.read(keys::privacyModeEnabled) && modelContext)
        recordHistory(finalText, result);
}

/// The pieces are in the document. If a text of the dictation is not, paste-last has that one.
void AppState::setTypedTranscription(const std::string& text) {
    setTranscription(text);
    if (!untypedText_.empty())
        lastTranscription = untypedText_;
}

void AppState::deleteRecording(const std::optional<std::filesystem::path>& file) {
    if (!file)
        return;
    try {
        persistence::secureDelete(*file, environment_.secureRandom);
    } catch (const std::exception&) {
        // The daily cleaning finds it.
    }
}

/// Ends the capture, unless it is that of a later recording, and deletes what was recorded.
void AppState::discardCapture(Recording& recording) {
    endCapture(recording).reset();
}

} // namespace sonvale::core
