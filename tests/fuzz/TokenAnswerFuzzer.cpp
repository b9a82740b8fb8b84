#include "tests/fuzz/Answer.h"
#include "tests/fuzz/Quiet.h"
#include "transcription/RealtimeMessages.h"
#include "transcription/TranscriptionError.h"

#include <cstdint>
#include <cstdlib>

/// Parses the backend's answer to the request for a token.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto response = sonvale::tests::answerFrom(data, size);
    if (!response)
        return 0;
    try {
        const auto token = sonvale::transcription::ephemeralTokenFrom(*response);
        if (token.empty() || !sonvale::tests::isSuccess(*response))
            std::abort();
    } catch (const sonvale::transcription::TranscriptionError&) {
        // The only error that it may throw.
    }
    return 0;
}
