#include "core/flows/Captures.h"

#include <utility>

namespace sonvale::core {

Captures::Captures(std::shared_ptr<audio::AudioRecorder> recorder, platform::SecureRandom& random)
    : recorder_(std::move(recorder))
    , random_(random)
    , levels_(recorder_->audioLevel.subscribe([this](float level) { noteLevel(level); })) {}

void Captures::begin(bool isLocalOnly) {
    closePrevious();
    newest_ = std::make_shared<Recording>();
    newest_->isLocalOnly = isLocalOnly;
    recorder_->startRecording();
    forgetSpeech();
}

bool Captures::isCapturing() const {
    const auto* engine = recorder_->audioEngine();
    return recorder_->isRecording.get() && engine != nullptr && engine->isRunning();
}

void Captures::noteLevel(float level) {
    newest_->isSpeechHeard = newest_->isSpeechHeard || level >= minSpeechLevel;
}

void Captures::forgetSpeech() {
    newest_->isSpeechHeard = false;
    noteLevel(recorder_->audioLevel.get());
}

void Captures::closePrevious() {
    recorder_->stopRecording();
    if (auto file = own(recorder_->forceStop()))
        newest_->closedFile = std::move(file);
}

std::optional<RecordingFile> Captures::end(Recording& recording) {
    if (recording.closedFile || !isNewest(recording))
        return std::exchange(recording.closedFile, std::nullopt);
    auto file = own(recorder_->forceStop());
    recorder_->cleanupRecording();
    return file;
}

void Captures::abort() {
    own(recorder_->forceStop()).reset();
}

std::optional<RecordingFile> Captures::closeSegment() {
    return own(recorder_->closeSegment());
}

std::optional<RecordingFile> Captures::own(std::optional<std::filesystem::path> path) const {
    if (!path)
        return std::nullopt;
    return RecordingFile(*std::move(path), random_);
}

} // namespace sonvale::core
