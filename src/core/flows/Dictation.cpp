#include "core/flows/Dictation.h"

#include "base/Log.h"
#include "runtime/Clock.h"
#include "transcription/TranscriptionError.h"

#include <utility>

namespace sonvale::core {

namespace {

/// Interval between level updates of the ring.
constexpr double levelUpdatePeriod = 0.033;

} // namespace

Dictation::Dictation(DictationContext& context, CommandMode& commandMode, Finalisation& finalisation,
                     LongForm& longForm, Endings& endings)
    : context_(context)
    , commandMode_(commandMode)
    , finalisation_(finalisation)
    , longForm_(longForm)
    , endings_(endings) {}

runtime::Task<> Dictation::start() {
    context_.environment.main.assertCurrent();
    auto& state = context_.state;
    const double startTime = context_.environment.clock.now();
    if (state.recordingState.get() != RecordingState::idle || context_.typing.isScreenLocked)
        co_return;
    state.dictationTargetApp = context_.services.contextBuilder.focusedAppDetector.detect();
    if (!co_await chooseMeaning())
        co_return;

    state.recordingState = RecordingState::recording;
    state.errorMessage = std::nullopt;
    context_.media.begin();
    context_.environment.floatingPanel.show(RecordingState::recording, 0);
    // No suspension until the recorder runs, so that no other event can run in between.
    if (!startRecorder())
        co_return;

    const auto recording = context_.captures.newest();
    context_.environment.auditLogger.logRecordingStarted();
    context_.typing.prepare();
    if (!co_await startEngine(recording))
        co_return;

    base::perfLog(fmt::format("startDictation total: {}ms",
                              runtime::millisecondsSince(context_.environment.clock, startTime)));
    const bool isHandsFree = state.isHandsFreeMode.get();
    if (!isHandsFree && state.recordingState.get() == RecordingState::recording && context_.stream.isReady())
        longForm_.startTimer();
    showLevels(recording);
    if (isHandsFree && onHandsFreeRecording)
        onHandsFreeRecording(recording);
}

/// Decides whether the words will be a text or a command, for which it reads the selection. Returns false if
/// another start, or the end of the press, came in between.
runtime::Task<bool> Dictation::chooseMeaning() {
    auto& state = context_.state;
    if (!state.forceCommandMode.get()) {
        state.selectedTextForCommand = std::nullopt;
        co_return true;
    }
    const auto givenUpBefore = startsGivenUp_;
    auto selection = co_await commandMode_.readSelection();
    state.forceCommandMode = false;
    if (state.recordingState.get() != RecordingState::idle || startsGivenUp_ != givenUpBefore ||
        context_.typing.isScreenLocked)
        co_return false;
    state.selectedTextForCommand = std::move(selection);
    co_return true;
}

bool Dictation::startRecorder() {
    if (!context_.state.isHandsFreeMode.get())
        context_.transcripts.forgetUntyped();
    try {
        context_.captures.begin(context_.isLocalOnly());
        return true;
    } catch (const std::exception& error) {
        endings_.end(Ending::startFailed, *context_.captures.newest(),
                     {.message = std::string("Failed to start recording: ") + error.what()});
    }
    return false;
}

/// Streams the recording if the preference streams. Returns false if the start ends here.
runtime::Task<bool> Dictation::startEngine(std::shared_ptr<Recording> recording) {
    const bool isStreamed = co_await context_.stream.begin();
    // This recording may have been cancelled meanwhile, and another one started, which has its own start.
    if (!context_.captures.isNewest(*recording))
        co_return false;
    if (isStreamed)
        co_return true;
    context_.services.transcriptionManager->prepareLocalEngine();
    if (!context_.state.isHandsFreeMode.get())
        co_return true;
    failToConnect();
    co_return false;
}

/// Ends hands-free dictation, which cannot continue without a session. The speech until now goes to the
/// history.
void Dictation::failToConnect() {
    const auto recording = context_.captures.newest();
    context_.services.audioRecorder->stopRecording();
    context_.lostSpeech.rescue(*recording);
    endings_.end(Ending::notConnected, *recording,
                 {.message = context_.stream.isPreferred()
                                 ? "Unable to connect to the transcription service. Please try again."
                                 : "Hands-free mode needs Streaming or Hybrid."});
}

bool Dictation::isRecording(const Recording& recording) const {
    return context_.captures.isNewest(recording) &&
           context_.state.recordingState.get() == RecordingState::recording;
}

void Dictation::showLevels(std::shared_ptr<Recording> recording) {
    context_.tasks.repeat<Dictation>(*this, levelUpdatePeriod,
                                     [recording = std::move(recording)](Dictation& self) {
                                         if (!self.isRecording(*recording))
                                             return false;
                                         self.context_.environment.floatingPanel.setLevel(
                                             self.context_.services.audioRecorder->audioLevel.get());
                                         return true;
                                     });
}

runtime::Task<> Dictation::stop() {
    context_.environment.main.assertCurrent();
    const double stopTime = context_.environment.clock.now();
    if (context_.state.recordingState.get() != RecordingState::recording)
        co_return;

    context_.state.recordingState = RecordingState::processing;
    context_.environment.floatingPanel.show(RecordingState::processing, 0);
    longForm_.stopTimer();
    const bool isLocalOnly = context_.isLocalOnly();
    const auto recording = context_.captures.newest();
    if (longForm_.isActive()) {
        co_await longForm_.stop(recording, isLocalOnly, stopTime);
        co_return;
    }

    std::optional<std::string> text;
    if (context_.stream.isPreferred())
        text = co_await context_.stream.finish();

    const auto file = closeFile(*recording, text.has_value());
    if (!file) {
        endWithoutAudio(*recording, text);
        co_return;
    }
    if (!text)
        text = co_await transcribe(recording, *file, stopTime);
    if (!text)
        co_return;
    context_.services.audioRecorder->cleanupRecording(*file);
    co_await finalisation_.finish(recording, *std::move(text), isLocalOnly, stopTime);
}

/// Returns the text of the file. If no engine returns one, ends the dictation, deletes the file and returns
/// nullopt.
runtime::Task<std::optional<std::string>> Dictation::transcribe(std::shared_ptr<Recording> recording,
                                                                std::filesystem::path file, double stopTime) {
    try {
        co_return co_await transcribeFile(context_.services.transcriptionManager, file,
                                          recording->isLocalOnly);
    } catch (const std::exception& error) {
        context_.services.audioRecorder->cleanupRecording(file);
        // The log must not contain a server's answer, which is for the user only and may be long.
        const std::string failed = "Transcription failed: ";
        endings_.end(Ending::transcriptionFailed, *recording,
                     {.message = failed + error.what(),
                      .logText = failed + transcription::failureKind(error),
                      .stopTime = stopTime});
    }
    co_return std::nullopt;
}

/// Stops the microphone, unless another recording uses it, and returns the file.
std::optional<std::filesystem::path> Dictation::closeFile(Recording& recording, bool isTextThere) {
    using Tail = audio::AudioRecorder::Tail;
    if (recording.closedFile)
        return recording.closedFile->path();
    if (!context_.captures.isNewest(recording))
        return std::nullopt;
    return context_.services.audioRecorder->stopRecording(isTextThere ? Tail::drop : Tail::keep);
}

/// Ends a recording whose recorder has stopped by itself, at the maximum duration of this or of an earlier
/// recording. Keeps the text that the service or the file gives, but does not type it.
void Dictation::endWithoutAudio(Recording& recording, const std::optional<std::string>& text) {
    if (text) {
        context_.transcripts.keepUntyped(*text);
        context_.captures.discard(recording);
    } else {
        context_.lostSpeech.rescue(recording);
    }
    endings_.end(Ending::withoutAudio, recording, {.message = "No audio recorded."});
}

runtime::Task<> Dictation::cancel() {
    co_await longForm_.cancel();
    // The speech that the service has received must not appear in the next text.
    if (context_.stream.isPreferred())
        context_.stream.cancel();
    context_.captures.newest()->overlappingSegment.reset();
    auto& recorder = *context_.services.audioRecorder;
    recorder.stopRecording();
    recorder.cleanupRecording();
}

void Dictation::cancelStalledEnd() {
    if (context_.stream.cancelUncommitted())
        context_.captures.closePrevious();
}

} // namespace sonvale::core
