#include "base/Text.h"
#include "tests/fuzz/Answer.h"
#include "tests/fuzz/Quiet.h"
#include "transcription/TranscriptionError.h"
#include "transcription/WhisperCloudEngine.h"

#include <cstdint>
#include <cstdlib>

/// Parses the service's answer to a posted recording.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto response = sonvale::tests::answerFrom(data, size);
    if (!response)
        return 0;
    try {
        const auto text = sonvale::transcription::transcriptFrom(*response);
        const bool isClean = sonvale::base::isValidUtf8(text) && text == sonvale::base::trimmed(text);
        if (text.empty() || !isClean || !sonvale::tests::isSuccess(*response))
            std::abort();
    } catch (const sonvale::transcription::TranscriptionError& error) {
        if (!sonvale::base::isValidUtf8(error.errorDescription()))
            std::abort();
    }
    return 0;
}
