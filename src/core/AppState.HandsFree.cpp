#include "core/AppState.h"

#include "base/Text.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"

#include <utility>

namespace sonvale::core {

namespace keys = persistence::keys;

namespace {

constexpr double handsFreeEndOfUtteranceDelay = 2.0;
constexpr double levelFeedPeriod = 0.05;
constexpr double utterancePollPeriod = 0.05;

} // namespace

runtime::Task<> AppState::startHandsFreeMode() {
    environment_.main.assertCurrent();
    pttPieces_.pendingInsertion.cancel();
    pttPieces_.pendingInsertion = {};
    resetPTTLongFormState();
    isHandsFreeMode = true;
    untypedText_.clear();

    voiceActivityDetector->onEndOfUtterance = [weak = weak_from_this(), main = environment_.main] {
        runtime::spawn(main, commitHandsFreeUtterance(weak));
    };
    voiceActivityDetector->start();
    voiceActivityDetector->endOfUtteranceDelay = handsFreeEndOfUtteranceDelay;
    handsFreePieces_.forget();
    co_await startDictation();
}

void AppState::stopDetector() {
    voiceActivityDetector->stop();
    endDetection();
}

void AppState::endDetection() {
    voiceActivityDetector->onEndOfUtterance = nullptr;
    voiceActivityDetector->endOfUtteranceDelay = audio::VoiceActivityDetector::defaultEndOfUtteranceDelay;
}

runtime::Task<> AppState::feedDetector(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock,
                                       std::shared_ptr<Recording> recording) {
    while (true) {
        {
            const auto self = weakSelf.lock();
            if (!self || !self->isHandsFreeMode.get() || !self->isRecording(*recording))
                co_return;
            self->voiceActivityDetector->process(self->audioRecorder->audioLevel.get());
            // What is said from then on would be lost.
            if (!self->isCapturing() && !self->isProcessingUtterance_)
                runtime::spawn(self->environment_.main, commitHandsFreeUtterance(weakSelf));
        }
        if (co_await runtime::sleep(*clock, levelFeedPeriod) == runtime::SleepOutcome::interrupted)
            co_return;
    }
}

runtime::Task<> AppState::commitHandsFreeUtterance(std::weak_ptr<AppState> weakSelf) {
    const auto self = weakSelf.lock();
    if (!self || !self->isHandsFreeMode.get() || self->recordingState.get() != RecordingState::recording ||
        self->isProcessingUtterance_)
        co_return;
    self->isProcessingUtterance_ = true;
    co_await self->commitUtterance();
    self->isProcessingUtterance_ = false;
}

runtime::Task<> AppState::commitUtterance() {
    const auto run = handsFreeRun_;
    const auto recording = recording_;
    const bool isUtteranceHeard = recording->isSpeechHeard;
    forgetSpeech();
    const auto transcript = co_await finalizePiece(recording);
    // A cancel has cleared up already, and another recording may have begun. After an end of the mode, also
    // one that a new start followed, the text is still wanted.
    if (run != handsFreeRun_)
        co_return;
    if (!transcript) {
        recording->isSpeechHeard = recording->isSpeechHeard || isUtteranceHeard;
        rescueRecording(*recording);
        transcriptionManager->realtimeEngine->cancelSession();
        co_await restartHandsFree();
        co_return;
    }
    transcriptionManager->realtimeEngine->resetForNextUtterance();

    if (!isCapturing()) {
        typeUtterance(*transcript);
        if (recording->isPieceLost)
            rescueRecording(*recording);
        else
            discardCapture(*recording);
        co_await restartHandsFree();
        co_return;
    }
    endSegment(*recording);
    bool isOpen = true;
    try {
        audioRecorder->openSegment();
    } catch (const std::exception&) {
        isOpen = false;
    }
    if (!isOpen) {
        deleteRecording(audioRecorder->forceStop());
        keepText(pieceOf(*transcript));
        co_await restartHandsFree();
        co_return;
    }
    recordingState = RecordingState::recording;
    voiceActivityDetector->resetForNextUtterance();
    typeUtterance(*transcript);
}

/// Closes the file of the utterance whose text has come. It is deleted, unless it holds more than that: a
/// piece that was lost is transcribed from it now; the next utterance, if the user began it while the service
/// was working, needs it in case that one is lost.
void AppState::endSegment(Recording& recording) {
    const bool hasNextBegun = recording.isSpeechHeard;
    auto file = audioRecorder->closeSegment();
    recording.overlappingSegment.reset();
    if (!file)
        return;
    RecordingFile segment(*std::move(file), environment_.secureRandom);
    if (std::exchange(recording.isPieceLost, false))
        rescue(std::move(segment), recording.isLocalOnly);
    else if (hasNextBegun)
        recording.overlappingSegment = std::move(segment);
}

/// The recorder stops by itself after its longest time, and when its input goes.
bool AppState::isCapturing() const {
    const auto* engine = audioRecorder->audioEngine();
    return audioRecorder->isRecording.get() && engine != nullptr && engine->isRunning();
}

void AppState::typeUtterance(const std::string& transcript) {
    const auto text = pieceOf(transcript);
    if (text.empty())
        return;
    auto spaced = handsFreePieces_.add(text, std::exchange(handsFreePieces_.isFirst, false));
    keepAndType(&AppState::handsFreePieces_, text, std::move(spaced));
}

/// Begins a new recording with a new session, so that the mode goes on.
runtime::Task<> AppState::restartHandsFree() {
    recordingState = RecordingState::idle;
    if (isHandsFreeMode.get())
        co_await startDictation();
}

/// Ends the mode after a failure, unless the user has ended it meanwhile.
runtime::Task<> AppState::leaveHandsFree(std::shared_ptr<AppState> self) {
    if (self->isHandsFreeMode.get())
        co_await self->stopHandsFreeMode();
}

runtime::Task<> AppState::waitForUtterance() {
    while (isProcessingUtterance_) {
        if (co_await runtime::sleep(environment_.clock, utterancePollPeriod) ==
            runtime::SleepOutcome::interrupted)
            co_return;
    }
}

runtime::Task<> AppState::stopHandsFreeMode() {
    environment_.main.assertCurrent();
    isHandsFreeMode = false;
    stopDetector();
    // An end that is under way takes all that was said and cleans it up. Only a recording that began after it
    // had taken the last utterance needs an end of its own.
    if (isLeavingHandsFree_ || (handsFreeEnds_ > 0 && recordingState.get() != RecordingState::recording))
        co_return;
    isLeavingHandsFree_ = true;
    ++handsFreeEnds_;

    co_await waitForUtterance();
    co_await finishTyping(&AppState::handsFreePieces_);
    // A commit may have begun meanwhile.
    co_await waitForUtterance();
    co_await finishTyping(&AppState::handsFreePieces_);

    isLeavingHandsFree_ = false;
    // The mode may have begun while the text of another dictation was being made.
    const bool isOfAnother = recordingState.get() == RecordingState::processing;
    const auto recording = recording_;
    if (recordingState.get() == RecordingState::recording)
        co_await finishLastUtterance(recording);
    recording->overlappingSegment.reset();
    transcriptionManager->realtimeEngine->cancelSession();
    if (isPresent(*recording)) {
        if (!isOfAnother)
            deleteRecording(audioRecorder->forceStop());
        else if (audioRecorder->isRecording.get())
            rescueRecording(*recording);
    }

    co_await finishPieces(&AppState::handsFreePieces_, environment_.settings.read(keys::localOnlyMode));
    handsFreePieces_.forget();
    --handsFreeEnds_;
    endRecordingState(*recording);
    resumeMedia();
    environment_.floatingPanel.hide();
    preWarmEngine();
}

runtime::Task<> AppState::finishLastUtterance(std::shared_ptr<Recording> recording) {
    recordingState = RecordingState::processing;
    const auto transcript = co_await finalizePiece(recording);
    if (isPresent(*recording))
        audioRecorder->stopRecording();
    if (!transcript || recording->isPieceLost)
        rescueRecording(*recording);
    else
        discardCapture(*recording);
    if (const auto text = pieceOf(transcript.value_or("")); !text.empty()) {
        auto spaced = handsFreePieces_.add(text, handsFreePieces_.accumulatedText.empty());
        keepAndType(&AppState::handsFreePieces_, text, std::move(spaced));
    }
    co_await finishTyping(&AppState::handsFreePieces_);
}

} // namespace sonvale::core
