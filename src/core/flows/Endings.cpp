#include "core/flows/Endings.h"

#include "base/Log.h"
#include "runtime/Clock.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace sonvale::core {

enum class Endings::Step {
    none,
    surface,             ///< the message, to the user and to the log
    logFailure,          ///< to the audit log
    forgetCommandKey,    ///< the next start reads no selection
    forgetSelection,     ///< the next transcript is no command
    goIdle,              ///< always
    endRecording,        ///< goes idle too; see the function `endRecording`
    clearMessage,        ///< no message for the user
    resumeMedia,         ///< the media that this dictation paused
    hide,                ///< the ring
    hideUnlessHandsFree, ///< hands-free mode continues and shows its ring
    preWarm,             ///< opens a session for the next dictation
    preWarmUnlessHandsFree,
    printTotal,
    printLongFormTotal,
    endHandsFree, ///< in the application that its text was typed into, and not at the next key
};

struct Endings::Row {
    Ending ending;
    std::array<Step, 8> steps; ///< in this order
    const char* failedPart = nullptr;
    const char* failure = nullptr;
};

const Endings::Row Endings::table[] = {
    {Ending::startFailed,
     {Step::goIdle, Step::surface, Step::logFailure, Step::resumeMedia, Step::hide, Step::endHandsFree},
     "audioRecorder",
     "recording-start-failed"},
    {Ending::notConnected, {Step::goIdle, Step::surface, Step::endHandsFree}},
    {Ending::withoutAudio, {Step::endRecording, Step::surface, Step::resumeMedia, Step::hide}},
    {Ending::transcriptionFailed,
     {Step::surface, Step::logFailure, Step::forgetSelection, Step::endRecording, Step::resumeMedia,
      Step::hideUnlessHandsFree, Step::preWarmUnlessHandsFree, Step::printTotal},
     "transcription",
     "transcription-failed"},
    {Ending::commandOrSnippet, {Step::endRecording, Step::resumeMedia, Step::hide}},
    {Ending::inserted,
     {Step::forgetSelection, Step::endRecording, Step::resumeMedia, Step::hideUnlessHandsFree,
      Step::preWarmUnlessHandsFree, Step::printTotal}},
    {Ending::longForm,
     {Step::forgetSelection, Step::endRecording, Step::resumeMedia, Step::hide, Step::preWarm,
      Step::printLongFormTotal}},
    {Ending::handsFree, {Step::endRecording, Step::resumeMedia, Step::hide, Step::preWarm}},
    {Ending::cancelled,
     {Step::forgetCommandKey, Step::forgetSelection, Step::goIdle, Step::clearMessage, Step::resumeMedia,
      Step::hide, Step::preWarm}},
    {Ending::handsFreeCancelled,
     {Step::forgetCommandKey, Step::forgetSelection, Step::goIdle, Step::clearMessage, Step::resumeMedia,
      Step::hide}},
};

Endings::Endings(DictationContext& context)
    : context_(context) {}

void Endings::end(Ending ending, const Recording& recording, const EndingDetails& details) {
    const auto* const row = std::ranges::find(table, ending, &Row::ending);
    for (const auto step : row->steps)
        carryOut(step, *row, recording, details);
}

void Endings::carryOut(Step step, const Row& row, const Recording& recording, const EndingDetails& details) {
    const bool isHandsFree = context_.state.isHandsFreeMode.get();
    switch (step) {
    case Step::none:
        break;
    case Step::resumeMedia:
        context_.media.end();
        break;
    case Step::hideUnlessHandsFree:
        if (isHandsFree)
            break;
        [[fallthrough]];
    case Step::hide:
        context_.environment.floatingPanel.hide();
        break;
    case Step::preWarmUnlessHandsFree:
        if (isHandsFree)
            break;
        [[fallthrough]];
    case Step::preWarm:
        context_.stream.preWarm();
        break;
    case Step::endHandsFree:
        if (isHandsFree && onHandsFreeFailed)
            onHandsFreeFailed();
        break;
    default:
        changeState(step, recording);
        report(step, row, details);
        break;
    }
}

void Endings::changeState(Step step, const Recording& recording) {
    auto& state = context_.state;
    if (step == Step::forgetCommandKey)
        state.forceCommandMode = false;
    else if (step == Step::forgetSelection)
        state.selectedTextForCommand = std::nullopt;
    else if (step == Step::goIdle)
        state.recordingState = RecordingState::idle;
    else if (step == Step::endRecording)
        endRecording(recording);
    else if (step == Step::clearMessage)
        state.errorMessage = std::nullopt;
}

void Endings::report(Step step, const Row& row, const EndingDetails& details) const {
    if (step == Step::surface)
        context_.state.surface(details.message, details.logText.empty() ? details.message : details.logText);
    else if (step == Step::logFailure)
        context_.environment.auditLogger.logError(row.failedPart, row.failure);
    else if (step == Step::printTotal)
        printTotal("stopDictation total", details.stopTime);
    else if (step == Step::printLongFormTotal)
        printTotal("stopDictation total (long-form)", details.stopTime);
}

/// Goes idle at the end of a dictation. If the dictation was cancelled, another one may be recording by now.
/// That one ends here too, because no key would end it any more, and its speech goes to the history. A
/// dictation whose key is already up is not changed: its own end follows.
void Endings::endRecording(const Recording& recording) {
    auto& state = context_.state;
    const bool hasOwnEnd =
        !context_.captures.isNewest(recording) && state.recordingState.get() == RecordingState::processing;
    state.recordingState = RecordingState::idle;
    if (hasOwnEnd || !context_.services.audioRecorder->isRecording.get())
        return;
    context_.stream.cancel();
    context_.lostSpeech.rescue(*context_.captures.newest());
}

void Endings::printTotal(const char* what, double stopTime) const {
    base::perfLog(
        fmt::format("{}: {}ms", what, runtime::millisecondsSince(context_.environment.clock, stopTime)));
}

} // namespace sonvale::core
