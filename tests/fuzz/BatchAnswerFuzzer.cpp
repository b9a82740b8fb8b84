#include "base/Text.h"
#include "tests/fuzz/Quiet.h"
#include "transcription/TranscriptionError.h"
#include "transcription/WhisperCloudEngine.h"

#include <cstdint>
#include <cstdlib>

/// The service's answer to a posted recording: two bytes of status, then the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const int status = (data[0] * 256 + data[1]) % 600;
    sonvale::platform::UrlResponse response;
    if (status > 0)
        response.statusCode = status;
    response.body.assign(reinterpret_cast<const char*>(data) + 2, size - 2);
    try {
        const auto text = sonvale::transcription::transcriptFrom(response);
        const bool isClean = sonvale::base::isValidUtf8(text) && text == sonvale::base::trimmed(text);
        if (text.empty() || !isClean || status < 200 || status > 299)
            std::abort();
    } catch (const sonvale::transcription::TranscriptionError& error) {
        if (!sonvale::base::isValidUtf8(error.errorDescription()))
            std::abort();
    }
    return 0;
}
