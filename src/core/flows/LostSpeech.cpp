#include "core/flows/LostSpeech.h"

#include "base/Log.h"
#include "core/flows/TranscriptText.h"
#include "transcription/TranscriptionError.h"

#include <utility>

namespace sonvale::core {

using transcription::TranscriptionManager;

LostSpeech::LostSpeech(Captures& captures, Transcripts& transcripts,
                       std::shared_ptr<TranscriptionManager> manager, const runtime::OwnedTasks& tasks)
    : captures_(captures)
    , transcripts_(transcripts)
    , manager_(std::move(manager))
    , tasks_(tasks) {}

void LostSpeech::rescue(Recording& recording) {
    const bool isSpeechHeard = recording.isSpeechHeard;
    auto file = captures_.end(recording);
    if (auto before = std::exchange(recording.overlappingSegment, std::nullopt))
        rescue(*std::move(before), recording.isLocalOnly);
    if (file && isSpeechHeard)
        rescue(*std::move(file), recording.isLocalOnly);
}

void LostSpeech::rescue(RecordingFile file, bool isLocalOnly) {
    base::Logger("AppState").info("Transcribing a recording that the service gave no text for");
    newest_ = tasks_.deliver<LostSpeech, std::string>(
        *this, textOf(newest_, manager_, std::move(file), isLocalOnly),
        [](LostSpeech& self, const std::string& text) { self.transcripts_.keepUntyped(text); });
}

runtime::Task<std::string> LostSpeech::textOf(runtime::TaskHandle<> previous,
                                              std::shared_ptr<TranscriptionManager> manager,
                                              RecordingFile file, bool isLocalOnly) {
    if (previous)
        co_await previous.value();
    try {
        co_return pieceOf(co_await transcribeFile(manager, file.path(), isLocalOnly));
    } catch (const std::exception& error) {
        base::Logger("AppState").error("The recording gave no text: {}", transcription::failureKind(error));
    }
    co_return "";
}

runtime::Task<std::string> transcribeFile(std::shared_ptr<TranscriptionManager> manager,
                                          std::filesystem::path file, bool isLocalOnly) {
    if (isLocalOnly)
        co_return co_await manager->transcribeOnDevice(std::move(file), std::nullopt);
    co_return co_await manager->transcribe(std::move(file), std::nullopt);
}

} // namespace sonvale::core
