#include "core/flows/HandsFreeMode.h"

#include "core/flows/TranscriptText.h"
#include "runtime/Clock.h"

#include <optional>
#include <utility>

namespace sonvale::core {

namespace {

constexpr double endOfUtteranceDelay = 2.0;
constexpr double levelFeedPeriod = 0.05;
constexpr double utterancePollPeriod = 0.05;

} // namespace

HandsFreeMode::HandsFreeMode(DictationContext& context, Dictation& dictation, Finalisation& finalisation,
                             Endings& endings)
    : context_(context)
    , dictation_(dictation)
    , endings_(endings)
    , pieces_(context, finalisation) {
    dictation_.onHandsFreeRecording = [this](std::shared_ptr<Recording> recording) {
        follow(std::move(recording));
    };
    // A task of its own: the end of the mode waits for the utterance that may be waiting for this.
    endings_.onHandsFreeFailed = [this] { context_.tasks.callKeeping(*this, &HandsFreeMode::leave); };
}

runtime::Task<> HandsFreeMode::start() {
    context_.environment.main.assertCurrent();
    context_.state.isHandsFreeMode = true;
    context_.transcripts.forgetUntyped();

    auto& detector = *context_.services.voiceActivityDetector;
    detector.onEndOfUtterance = [this] { beginCommit(); };
    detector.start();
    detector.endOfUtteranceDelay = endOfUtteranceDelay;
    pieces_.forget();
    co_await dictation_.start();
}

void HandsFreeMode::endDetection() {
    auto& detector = *context_.services.voiceActivityDetector;
    detector.onEndOfUtterance = nullptr;
    detector.endOfUtteranceDelay = audio::VoiceActivityDetector::defaultEndOfUtteranceDelay;
}

void HandsFreeMode::follow(std::shared_ptr<Recording> recording) {
    context_.tasks.repeat<HandsFreeMode>(
        *this, levelFeedPeriod,
        [recording = std::move(recording)](HandsFreeMode& self) { return self.feedDetector(*recording); });
}

bool HandsFreeMode::feedDetector(const Recording& recording) {
    if (!context_.state.isHandsFreeMode.get() || !dictation_.isRecording(recording))
        return false;
    context_.services.voiceActivityDetector->process(context_.services.audioRecorder->audioLevel.get());
    // Speech after the recorder has stopped by itself would be lost.
    if (!context_.captures.isCapturing() && !isCommitting_)
        beginCommit();
    return true;
}

void HandsFreeMode::beginCommit() {
    context_.tasks.call(*this, &HandsFreeMode::commit);
}

runtime::Task<> HandsFreeMode::commit() {
    if (!context_.state.isHandsFreeMode.get() ||
        context_.state.recordingState.get() != RecordingState::recording || isCommitting_)
        co_return;
    isCommitting_ = true;
    co_await commitUtterance();
    isCommitting_ = false;
}

runtime::Task<> HandsFreeMode::commitUtterance() {
    const auto cancellations = cancellations_;
    const auto recording = context_.captures.newest();
    const bool isUtteranceHeard = recording->isSpeechHeard;
    context_.captures.forgetSpeech();
    const auto transcript = co_await context_.stream.finishPiece(recording);
    // A cancel has cleaned up already, and another recording may have begun. After an end of the mode the
    // text is still wanted, also if a new start followed.
    if (cancellations != cancellations_)
        co_return;
    if (!transcript) {
        co_await recoverLostUtterance(recording, isUtteranceHeard);
        co_return;
    }
    context_.stream.reset();

    if (!context_.captures.isCapturing()) {
        typeUtterance(*transcript);
        if (recording->isPieceLost)
            context_.lostSpeech.rescue(*recording);
        else
            context_.captures.discard(*recording);
        co_await restart();
        co_return;
    }
    if (!openNextSegment(*recording)) {
        context_.captures.abort();
        context_.transcripts.keepUntyped(pieceOf(*transcript));
        co_await restart();
        co_return;
    }
    context_.state.recordingState = RecordingState::recording;
    context_.services.voiceActivityDetector->resetForNextUtterance();
    typeUtterance(*transcript);
}

/// Transcribes the file of an utterance for which the service returned no text. The mode continues with a new
/// session.
runtime::Task<> HandsFreeMode::recoverLostUtterance(std::shared_ptr<Recording> recording,
                                                    bool isSpeechHeard) {
    recording->isSpeechHeard = recording->isSpeechHeard || isSpeechHeard;
    context_.lostSpeech.rescue(*recording);
    context_.stream.cancel();
    co_await restart();
}

/// Returns whether the recorder writes a new file.
bool HandsFreeMode::openNextSegment(Recording& recording) {
    endSegment(recording);
    try {
        context_.services.audioRecorder->openSegment();
        return true;
    } catch (const std::exception&) {
        // The recorder has logged the reason. The mode continues with a new recording.
        return false;
    }
}

/// Closes the file of the utterance whose text has come. Deletes it unless it contains more. A lost piece is
/// now transcribed from it. If the user began the next utterance while the service was working, the file is
/// kept in case that utterance is lost.
void HandsFreeMode::endSegment(Recording& recording) {
    const bool hasNextBegun = recording.isSpeechHeard;
    auto segment = context_.captures.closeSegment();
    recording.overlappingSegment.reset();
    if (!segment)
        return;
    if (std::exchange(recording.isPieceLost, false))
        context_.lostSpeech.rescue(*std::move(segment), recording.isLocalOnly);
    else if (hasNextBegun)
        recording.overlappingSegment = std::move(segment);
}

void HandsFreeMode::typeUtterance(const std::string& transcript) {
    if (const auto text = pieceOf(transcript); !text.empty())
        pieces_.type(text);
}

/// Begins a new recording with a new session, so that the mode continues.
runtime::Task<> HandsFreeMode::restart() {
    context_.state.recordingState = RecordingState::idle;
    if (context_.state.isHandsFreeMode.get())
        co_await dictation_.start();
}

/// Ends the mode after a failure, unless the user has ended it meanwhile.
runtime::Task<> HandsFreeMode::leave() {
    if (context_.state.isHandsFreeMode.get())
        co_await stop();
}

runtime::Task<> HandsFreeMode::cancel() {
    ++cancellations_;
    context_.stream.cancel();
    const auto recording = context_.captures.newest();
    recording->overlappingSegment.reset();
    context_.captures.discard(*recording);
    context_.state.isHandsFreeMode = false;
    endDetection();
    co_await pieces_.cancelTyping();
    pieces_.forget();
}

runtime::Task<> HandsFreeMode::stop() {
    context_.environment.main.assertCurrent();
    auto& state = context_.state;
    state.isHandsFreeMode = false;
    context_.services.voiceActivityDetector->stop();
    endDetection();
    // A running end handles all speech and cleans it up. Only a recording that began after the end had taken
    // the last utterance needs its own end.
    if (isLeaving_ || (runningEnds_ > 0 && state.recordingState.get() != RecordingState::recording))
        co_return;
    isLeaving_ = true;
    ++runningEnds_;
    co_await finishUtterances();
    isLeaving_ = false;

    // The mode may have begun while another dictation was being transcribed.
    const bool isOfAnother = state.recordingState.get() == RecordingState::processing;
    const auto recording = context_.captures.newest();
    if (state.recordingState.get() == RecordingState::recording)
        co_await finishLastUtterance(recording);
    recording->overlappingSegment.reset();
    context_.stream.cancel();
    if (context_.captures.isNewest(*recording)) {
        if (!isOfAnother)
            context_.captures.abort();
        else if (context_.services.audioRecorder->isRecording.get())
            context_.lostSpeech.rescue(*recording);
    }

    co_await pieces_.replaceByWhole(context_.isLocalOnly());
    pieces_.forget();
    --runningEnds_;
    endings_.end(Ending::handsFree, *recording);
}

runtime::Task<> HandsFreeMode::finishUtterances() {
    co_await waitForCommit();
    co_await pieces_.finishTyping();
    // A commit may have begun meanwhile.
    co_await waitForCommit();
    co_await pieces_.finishTyping();
}

runtime::Task<> HandsFreeMode::waitForCommit() {
    while (isCommitting_) {
        if (co_await runtime::sleep(context_.environment.clock, utterancePollPeriod) ==
            runtime::SleepOutcome::interrupted)
            co_return;
    }
}

runtime::Task<> HandsFreeMode::finishLastUtterance(std::shared_ptr<Recording> recording) {
    context_.state.recordingState = RecordingState::processing;
    const auto transcript = co_await context_.stream.finishPiece(recording);
    if (context_.captures.isNewest(*recording))
        context_.services.audioRecorder->stopRecording();
    if (!transcript || recording->isPieceLost)
        context_.lostSpeech.rescue(*recording);
    else
        context_.captures.discard(*recording);
    typeUtterance(transcript.value_or(""));
    co_await pieces_.finishTyping();
}

} // namespace sonvale::core
