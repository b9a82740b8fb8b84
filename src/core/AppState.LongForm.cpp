#include "core/AppState.h"

#include "base/Log.h"
#include "base/Text.h"
#include "runtime/Clock.h"

#include <utility>

namespace sonvale::core {

namespace {

constexpr double longFormThreshold = 5.0;
constexpr double segmentPeriod = 5.0;
constexpr double commitPollPeriod = 0.02;

} // namespace

void AppState::resetPTTLongFormState() {
    pttLongFormTimer_.cancel();
    pttLongFormTimer_ = {};
    pttLongFormActive_ = false;
    pttPieces_.forget();
    isPTTCommitting_ = false;
}

void AppState::startLongFormTimer() {
    pttLongFormTimer_.cancel();
    pttLongFormTimer_ = runtime::spawn(environment_.main, runLongForm(weak_from_this(), &environment_.clock));
}

runtime::Task<> AppState::runLongForm(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock) {
    const auto ownerWhileRecording = [weakSelf] {
        auto self = weakSelf.lock();
        const bool isMeant =
            self && self->recordingState.get() == RecordingState::recording && !self->isHandsFreeMode.get();
        return isMeant ? self : nullptr;
    };

    co_await runtime::sleep(*clock, longFormThreshold);
    if (co_await runtime::isCurrentTaskCancelled())
        co_return;
    {
        const auto self = ownerWhileRecording();
        if (!self)
            co_return;
        // This cancels the timer, which is this task: one commit is made by time, and the rest at the end.
        self->resetPTTLongFormState();
        self->pttLongFormActive_ = true;
        base::perfLog(fmt::format("PTT long-form mode activated (held > {:.1f}s)", longFormThreshold));
        // A task of its own, which the cancellation does not reach.
        co_await runtime::spawn(self->environment_.main, commitPTTSegment(self)).value();
    }
    while (!co_await runtime::isCurrentTaskCancelled()) {
        if (!ownerWhileRecording())
            co_return;
        co_await runtime::sleep(*clock, segmentPeriod);
        if (co_await runtime::isCurrentTaskCancelled())
            co_return;
        const auto self = ownerWhileRecording();
        if (!self)
            co_return;
        co_await runtime::spawn(self->environment_.main, commitPTTSegment(self)).value();
    }
}

runtime::Task<> AppState::commitPTTSegment(std::shared_ptr<AppState> self) {
    if (self->recordingState.get() != RecordingState::recording || !self->pttLongFormActive_ ||
        self->isHandsFreeMode.get() || self->isPTTCommitting_)
        co_return;
    self->isPTTCommitting_ = true;
    const auto cancellations = self->pttCancellations_;
    const auto recording = self->recording_;
    const auto transcript = co_await self->finalizePiece(recording);
    // After a cancel the pieces are those of another recording.
    if (cancellations != self->pttCancellations_)
        co_return;
    recording->isPieceLost = recording->isPieceLost || !transcript;
    if (transcript) {
        self->transcriptionManager->realtimeEngine->resetForNextUtterance();
        if (const auto text = pieceOf(*transcript); !text.empty())
            self->typeSegment(text, std::exchange(self->pttPieces_.isFirst, false));
    }
    self->isPTTCommitting_ = false;
}

void AppState::typeSegment(const std::string& text, bool asFirst) {
    auto spaced = pttPieces_.add(text, asFirst);
    base::perfLog(fmt::format("PTT long-form segment: {} chars (total accumulated: {} chars)",
                              base::characterCount(text), base::characterCount(pttPieces_.accumulatedText)));
    keepAndType(&AppState::pttPieces_, text, std::move(spaced));
}

runtime::Task<> AppState::stopLongForm(std::shared_ptr<Recording> recording, bool isLocalOnly,
                                       double stopTime) {
    while (isPTTCommitting_) {
        if (co_await runtime::sleep(environment_.clock, commitPollPeriod) ==
            runtime::SleepOutcome::interrupted)
            break;
    }
    std::optional<std::string> last;
    if (transcriptionManager->isStreamingPreferred())
        last = co_await finalizePiece(recording);
    if (isPresent(*recording))
        audioRecorder->stopRecording();
    // One file holds the whole dictation, and nothing says where in it a piece begins. If one was lost, the
    // whole is transcribed: its row in the history repeats the pieces that were typed, as the row of the
    // cleaned whole does, and so does paste-last.
    if (!last || recording->isPieceLost)
        rescueRecording(*recording);
    else
        discardCapture(*recording);
    transcriptionManager->realtimeEngine->cancelSession();

    if (const auto text = pieceOf(last.value_or("")); !text.empty()) {
        auto spaced = pttPieces_.add(text, pttPieces_.accumulatedText.empty());
        keepAndType(&AppState::pttPieces_, text, std::move(spaced));
    }
    co_await finishTyping(&AppState::pttPieces_);
    co_await finishPieces(&AppState::pttPieces_, isLocalOnly);

    resetPTTLongFormState();
    selectedTextForCommand = std::nullopt;
    endRecordingState(*recording);
    resumeMedia();
    environment_.floatingPanel.hide();
    preWarmEngine();
    base::perfLog(fmt::format("stopDictation total (long-form): {}ms",
                              runtime::millisecondsSince(environment_.clock, stopTime)));
}

} // namespace sonvale::core
