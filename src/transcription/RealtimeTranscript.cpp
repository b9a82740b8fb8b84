#include "transcription/RealtimeTranscript.h"

#include "base/Text.h"

#include <array>
#include <utility>

namespace sonvale::transcription {

namespace {

/// Events that are expected and have no effect.
constexpr std::array<std::string_view, 7> silentEvents = {
    "input_audio_buffer.committed", "response.created",          "response.output_item.added",
    "conversation.item.created",    "response.output_item.done", "response.content_part.added",
    "response.content_part.done",
};

std::string joined(const std::vector<std::string>& segments) {
    std::string text;
    for (const auto& segment : segments) {
        if (&segment != &segments.front())
            text += ' ';
        text += segment;
    }
    return base::trimmed(text, base::TrimmingSet::blanks);
}

} // namespace

RealtimeTranscript::RealtimeTranscript(runtime::Clock& clock)
    : clock_(clock) {}

RealtimeTranscript::Effect RealtimeTranscript::handleMessage(const platform::WebSocketMessage& message) {
    if (message.kind == platform::WebSocketMessage::Kind::text && !base::isValidUtf8(message.bytes)) {
        logger_.error("RealtimeSTT: Received non-UTF8 text frame — ignoring");
        return Effect::none;
    }
    const auto event = base::parseJson(message.bytes);
    const auto type = event ? base::jsonString(*event, "type") : std::nullopt;
    if (!type) {
        logger_.error("RealtimeSTT: Failed to parse incoming JSON frame");
        return Effect::none;
    }

    if (*type == "conversation.item.input_audio_transcription.completed")
        return complete(*event);
    if (*type == "response.done")
        return finishResponse();
    if (*type == "error")
        return fail(*event);

    if (*type == "conversation.item.input_audio_transcription.delta") {
        addDelta(*event);
    } else if (*type == "session.created") {
        const auto* session = base::jsonMember(*event, "session");
        auto id = session ? base::jsonString(*session, "id") : std::nullopt;
        const bool isPresent = id.has_value();
        {
            const std::lock_guard lock(continuationLock_);
            currentSessionID_ = std::move(id);
        }
        logger_.debug("RealtimeSTT: Session created (id present: {})", isPresent);
    } else if (*type == "session.updated") {
        logger_.debug("RealtimeSTT: Received 'session.updated'");
    } else if (std::ranges::find(silentEvents, *type) != silentEvents.end()) {
        logger_.debug("RealtimeSTT: Received '{}'", *type);
    } else {
        // The name comes from the network: the log gets only its beginning.
        logger_.debug("RealtimeSTT: Ignoring unhandled event type '{}'", base::firstCharacters(*type, 80));
    }
    return Effect::none;
}

RealtimeTranscript::Effect RealtimeTranscript::complete(const base::Json& event) {
    auto transcript = base::jsonString(event, "transcript");
    if (!transcript) {
        logger_.error("RealtimeSTT: Transcription completed event missing 'transcript' field — resolving "
                      "with empty string");
        return effectOf(std::string());
    }
    std::vector<std::string> segments;
    {
        const std::lock_guard lock(continuationLock_);
        accumulatedTranscriptSegments_.push_back(*std::move(transcript));
        segments = std::exchange(accumulatedTranscriptSegments_, {});
        deltaAccumulator_.clear();
    }
    auto text = joined(segments);
    logger_.info("RealtimeSTT: Transcript completed ({} chars, {} segment(s))", base::characterCount(text),
                 segments.size());
    reportWait(text, "");
    return effectOf(std::move(text));
}

void RealtimeTranscript::addDelta(const base::Json& event) {
    const auto delta = base::jsonString(event, "delta");
    if (!delta)
        return;
    {
        const std::lock_guard lock(continuationLock_);
        deltaAccumulator_ += *delta;
    }
    logger_.debug("RealtimeSTT: Delta chunk received ({} chars)", base::characterCount(*delta));
}

RealtimeTranscript::Effect RealtimeTranscript::finishResponse() {
    const auto segments = takeSegments();
    if (segments.empty()) {
        logger_.debug("RealtimeSTT: response.done received (no unresolved segments — continuation already "
                      "resolved)");
        return Effect::none;
    }
    auto text = joined(segments);
    logger_.info("RealtimeSTT: response.done fallback — assembling transcript ({} chars)",
                 base::characterCount(text));
    reportWait(text, " [response.done fallback]");
    return effectOf(std::move(text));
}

RealtimeTranscript::Effect RealtimeTranscript::fail(const base::Json& event) {
    const base::Json nothing;
    const auto* error = base::jsonMember(event, "error");
    if (!error)
        error = &nothing;
    const auto message = base::jsonString(*error, "message").value_or("Unknown API error");
    const auto code = base::jsonInteger(*error, "code").value_or(0);
    logger_.error("RealtimeSTT: API error {} — {}", code, base::PrivateText{message});
    return effectOf(std::make_exception_ptr(TranscriptionError::apiError(code, message)));
}

void RealtimeTranscript::reportWait(const std::string& text, const char* remark) {
    std::optional<double> start;
    {
        const std::lock_guard lock(continuationLock_);
        start = std::exchange(finalizeStartTime_, std::nullopt);
    }
    if (start)
        base::perfLog(fmt::format("Transcript wait: {}ms ({} chars){}",
                                  runtime::millisecondsSince(clock_, *start), base::characterCount(text),
                                  remark));
}

RealtimeTranscript::Effect RealtimeTranscript::effectOf(const Outcome& outcome) {
    return resolveContinuation(outcome) ? Effect::resolved : Effect::unawaited;
}

std::vector<std::string> RealtimeTranscript::takeSegments() {
    const std::lock_guard lock(continuationLock_);
    deltaAccumulator_.clear();
    return std::exchange(accumulatedTranscriptSegments_, {});
}

void RealtimeTranscript::beginUtterance() {
    const std::lock_guard lock(continuationLock_);
    finalizeStartTime_ = clock_.now();
}

void RealtimeTranscript::expectOutcome() {
    const std::lock_guard lock(continuationLock_);
    isOutcomeExpected_ = true;
    earlyOutcome_.reset();
}

void RealtimeTranscript::installContinuation(runtime::Continuation<std::string> continuation) {
    std::optional<runtime::Continuation<std::string>> replaced;
    std::optional<Outcome> early;
    {
        const std::lock_guard lock(continuationLock_);
        replaced = std::exchange(transcriptionContinuation_, std::move(continuation));
        isOutcomeExpected_ = false;
        early = std::exchange(earlyOutcome_, std::nullopt);
    }
    if (replaced) {
        logger_.error("RealtimeSTT: Replacing pending continuation — resuming old one with cancellation");
        replaced->fail(std::make_exception_ptr(runtime::CancellationError()));
    }
    if (early)
        resolveContinuation(*early);
}

bool RealtimeTranscript::resolveContinuation(const Outcome& outcome) {
    std::optional<runtime::Continuation<std::string>> waiting;
    {
        const std::lock_guard lock(continuationLock_);
        waiting = std::exchange(transcriptionContinuation_, std::nullopt);
        if (!waiting && isOutcomeExpected_ && !earlyOutcome_) {
            earlyOutcome_ = outcome;
            return true;
        }
    }
    if (!waiting)
        return false;
    if (const auto* text = std::get_if<std::string>(&outcome))
        waiting->resume(*text);
    else
        waiting->fail(std::get<std::exception_ptr>(outcome));
    return true;
}

void RealtimeTranscript::forgetUtterance() {
    const std::lock_guard lock(continuationLock_);
    accumulatedTranscriptSegments_.clear();
    deltaAccumulator_.clear();
}

void RealtimeTranscript::forgetSession() {
    const std::lock_guard lock(continuationLock_);
    accumulatedTranscriptSegments_.clear();
    deltaAccumulator_.clear();
    currentSessionID_.reset();
}

std::optional<std::string> RealtimeTranscript::currentSessionID() const {
    const std::lock_guard lock(continuationLock_);
    return currentSessionID_;
}

} // namespace sonvale::transcription
