#include "tests/fuzz/Quiet.h"
#include "transcription/RealtimeTranscriptionEngine.h"
#include "transcription/TranscriptionError.h"

#include <cstdint>
#include <cstdlib>

/// The backend's answer to the request for a token: two bytes of status, then the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const int status = (data[0] * 256 + data[1]) % 600;
    sonvale::platform::UrlResponse response;
    if (status > 0)
        response.statusCode = status;
    response.body.assign(reinterpret_cast<const char*>(data) + 2, size - 2);
    try {
        const auto token = sonvale::transcription::ephemeralTokenFrom(response);
        if (token.empty() || status < 200 || status > 299)
            std::abort();
    } catch (const sonvale::transcription::TranscriptionError&) {
        // The one thing that it may throw.
    }
    return 0;
}
