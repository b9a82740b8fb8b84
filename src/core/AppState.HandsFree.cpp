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
                                       std::uint64_t recording) {
    while (true) {
        {
            const auto self = weakSelf.lock();
            if (!self || !self->isHandsFreeMode.get() || !self->isRecording(recording))
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
    const bool isUtteranceHeard = isSpeechHeard_;
    forgetSpeech();
    const auto transcript = co_await finalizePiece();
    // A cancel has cleared up already, and another recording may have begun. After an end of the mode, also
    // one that a new start followed, the text is still wanted.
    if (run != handsFreeRun_)
        co_return;
    if (!transcript) {
        isSpeechHeard_ = isSpeechHeard_ || isUtteranceHeard;
        rescueCapture();
        transcriptionManager->realtimeEngine->cancelSession();
        co_await restartHandsFree();
        co_return;
    }
    transcriptionManager->realtimeEngine->resetForNextUtterance();

    if (!isCapturing()) {
        typeUtterance(*transcript);
        if (isPieceLost_)
            rescueCapture();
        else
            discardCapture();
        co_await restartHandsFree();
        co_return;
    }
    endSegment();
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
void AppState::endSegment() {
    const bool hasNextBegun = isSpeechHeard_;
    auto file = audioRecorder->closeSegment();
    overlappingSegment_.reset();
    if (!file)
        return;
    RecordingFile segment(*std::move(file), environment_.secureRandom);
    if (std::exchange(isPieceLost_, false))
        rescue(std::move(segment));
    else if (hasNextBegun)
        overlappingSegment_ = std::move(segment);
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
    if (recordingState.get() == RecordingState::recording)
        co_await finishLastUtterance();
    overlappingSegment_.reset();
    transcriptionManager->realtimeEngine->cancelSession();
    if (!isOfAnother)
        deleteRecording(audioRecorder->forceStop());
    else if (audioRecorder->isRecording.get())
        rescueCapture();

    co_await finishPieces(&AppState::handsFreePieces_, environment_.settings.read(keys::localOnlyMode));
    handsFreePieces_.forget();
    --handsFreeEnds_;
    endRecordingState();
    resumeMedia();
    environment_.floatingPanel.hide();
    preWarmEngine();
}

runtime::Task<> AppState::finishLastUtterance() {
    recordingState = RecordingState::processing;
    const auto transcript = co_await finalizePiece();
    audioRecorder->stopRecording();
    if (!transcript || isPieceLost_)
        rescueCapture();
    else
        audioRecorder->cleanupRecording();
    if (const auto text = pieceOf(transcript.value_or("")); !text.empty()) {
        auto spaced = handsFreePieces_.add(text, handsFreePieces_.accumulatedText.empty());
        keepAndType(&AppState::handsFreePieces_, text, std::move(spaced));
    }
    co_await finishTyping(&AppState::handsFreePieces_);
}

} // namespace sonvale::core
