#include "core/flows/LongForm.h"

#include "base/Log.h"
#include "base/Text.h"
#include "core/flows/TranscriptText.h"
#include "runtime/Clock.h"

#include <optional>
#include <string>
#include <utility>

namespace sonvale::core {

namespace {

constexpr double threshold = 5.0;
constexpr double segmentPollPeriod = 0.02;

} // namespace

LongForm::LongForm(DictationContext& context, Finalisation& finalisation, Endings& endings)
    : context_(context)
    , endings_(endings)
    , pieces_(context, finalisation) {}

void LongForm::startTimer() {
    timer_.cancel();
    timer_ = context_.tasks.later<LongForm>(*this, threshold, [](LongForm& self) { self.activate(); });
}

void LongForm::stopTimer() {
    timer_.cancel();
    timer_ = {};
}

void LongForm::reset() {
    stopTimer();
    isActive_ = false;
    pieces_.forget();
    isCommitting_ = false;
}

/// Commits the first piece when the time has passed. The rest is committed at the end.
void LongForm::activate() {
    if (context_.state.recordingState.get() != RecordingState::recording ||
        context_.state.isHandsFreeMode.get())
        return;
    reset();
    isActive_ = true;
    base::perfLog(fmt::format("PTT long-form mode activated (held > {:.1f}s)", threshold));
    context_.tasks.callKeeping(*this, &LongForm::commitSegment);
}

runtime::Task<> LongForm::commitSegment() {
    if (context_.state.recordingState.get() != RecordingState::recording || !isActive_ ||
        context_.state.isHandsFreeMode.get() || isCommitting_)
        co_return;
    isCommitting_ = true;
    const auto cancellations = cancellations_;
    const auto recording = context_.captures.newest();
    const auto transcript = co_await context_.stream.finishPiece(recording);
    // After a cancel the pieces belong to another recording.
    if (cancellations != cancellations_)
        co_return;
    recording->isPieceLost = recording->isPieceLost || !transcript;
    if (transcript) {
        context_.stream.reset();
        if (const auto text = pieceOf(*transcript); !text.empty())
            typeSegment(text);
    }
    isCommitting_ = false;
}

void LongForm::typeSegment(const std::string& text) {
    pieces_.type(text);
    base::perfLog(fmt::format("PTT long-form segment: {} chars (total accumulated: {} chars)",
                              base::characterCount(text), base::characterCount(pieces_.text())));
}

runtime::Task<> LongForm::cancel() {
    ++cancellations_;
    co_await pieces_.cancelTyping();
    reset();
}

void LongForm::drop() {
    pieces_.dropTyping();
    reset();
}

runtime::Task<> LongForm::stop(std::shared_ptr<Recording> recording, bool isLocalOnly, double stopTime) {
    while (isCommitting_) {
        if (co_await runtime::sleep(context_.environment.clock, segmentPollPeriod) ==
            runtime::SleepOutcome::interrupted)
            break;
    }
    std::optional<std::string> last;
    if (context_.stream.isPreferred())
        last = co_await context_.stream.finishPiece(recording);
    if (context_.captures.isNewest(*recording))
        context_.services.audioRecorder->stopRecording();
    // One file contains the whole dictation, without marks between the pieces. If a piece was lost, the whole
    // is transcribed. Its row in the history repeats the typed pieces, as the row of the cleaned whole does,
    // and so does paste-last.
    if (!last || recording->isPieceLost)
        context_.lostSpeech.rescue(*recording);
    else
        context_.captures.discard(*recording);
    context_.stream.cancel();

    if (const auto text = pieceOf(last.value_or("")); !text.empty())
        pieces_.type(text);
    co_await pieces_.finishTyping();
    co_await pieces_.replaceByWhole(isLocalOnly);

    reset();
    endings_.end(Ending::longForm, *recording, {.stopTime = stopTime});
}

} // namespace sonvale::core
