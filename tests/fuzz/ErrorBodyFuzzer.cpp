#include "base/Text.h"
#include "services/AuthAnswers.h"
#include "tests/fuzz/Answer.h"
#include "tests/fuzz/Quiet.h"
#include "textprocessing/ChatMessages.h"
#include "textprocessing/TextProcessingError.h"

#include <cstdint>
#include <cstdlib>

/// Describes a refusal of the backend or of the chat service for the user.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto response = sonvale::tests::answerFrom(data, size);
    if (!response)
        return 0;
    const int status = response->statusCode.value_or(0);
    if (!sonvale::base::isValidUtf8(sonvale::services::authErrorText(status, response->body)))
        std::abort();
    if (sonvale::tests::isSuccess(*response))
        return 0;

    using sonvale::textprocessing::TextProcessingError;
    using Case = TextProcessingError::Case;
    try {
        sonvale::textprocessing::chatAnswerFrom(*response);
        std::abort();
    } catch (const TextProcessingError& error) {
        const auto wanted = !response->statusCode ? Case::invalidResponse
                            : status == 426       ? Case::upgradeRequired
                                                  : Case::apiError;
        if (error.errorCase() != wanted || !sonvale::base::isValidUtf8(error.errorDescription()))
            std::abort();
    }
    return 0;
}
