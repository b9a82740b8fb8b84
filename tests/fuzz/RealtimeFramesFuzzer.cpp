#include "base/Text.h"
#include "runtime/ManualClock.h"
#include "tests/fuzz/Quiet.h"
#include "transcription/RealtimeTranscript.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using sonvale::platform::WebSocketMessage;
using sonvale::transcription::RealtimeTranscript;

/// Processes a session's incoming frames. The byte 0xff, which UTF-8 does not contain, ends one; the byte
/// after it selects the kind of the next frame, and what the program does before it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    sonvale::runtime::ManualClock clock;
    RealtimeTranscript transcript(clock);
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    bool isExpected = false;
    while (!rest.empty()) {
        const auto order = static_cast<unsigned char>(rest.front());
        rest.remove_prefix(1);
        const auto end = rest.find('\xff');
        const auto frame = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);

        if (order & 1U)
            transcript.beginUtterance();
        if (order & 2U)
            transcript.expectOutcome();
        if (order & 4U)
            transcript.forgetUtterance();
        if (order & 8U)
            transcript.forgetSession();
        const auto kind = order & 16U ? WebSocketMessage::Kind::binary : WebSocketMessage::Kind::text;
        isExpected |= (order & 2U) != 0;
        const auto effect = transcript.handleMessage({kind, std::string(frame)});
        // No task waits here, so an outcome is valid only where one is expected.
        if (effect == RealtimeTranscript::Effect::resolved && !isExpected)
            std::abort();
        if (const auto id = transcript.currentSessionID(); id && !sonvale::base::isValidUtf8(*id))
            std::abort();
    }
    return 0;
}
