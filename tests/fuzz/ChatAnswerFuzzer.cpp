#include "base/Text.h"
#include "tests/fuzz/Answer.h"
#include "tests/fuzz/Quiet.h"
#include "textprocessing/ChatMessages.h"
#include "textprocessing/ModelOutput.h"
#include "textprocessing/TextProcessingError.h"

#include <cstdint>
#include <cstdlib>

using sonvale::textprocessing::cleanOutput;
using sonvale::textprocessing::TextProcessingError;

namespace {

/// The raw texts of the answer: one that the rules hardly compare, and one that they compare.
constexpr const char* rawTexts[] = {"ab", "um so what is the the cleaned text: here"};

void checkCleaned(const std::string& output, const std::string& rawText) {
    const auto cleaned = cleanOutput(output, rawText);
    const bool isPieceOfOutput = output.find(cleaned) != std::string::npos;
    if (cleaned != rawText && (!isPieceOfOutput || sonvale::base::characterCount(cleaned) < 2))
        std::abort();
}

} // namespace

/// Parses the model's answer to a request for clean-up, and strips its text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto response = sonvale::tests::answerFrom(data, size);
    if (!response)
        return 0;
    // The text may be malformed for the rules that strip it.
    for (const auto* rawText : rawTexts)
        checkCleaned(response->body, rawText);
    try {
        const auto answer = sonvale::textprocessing::chatAnswerFrom(*response);
        const bool isText = sonvale::base::isValidUtf8(answer.content);
        if (answer.content.empty() || !isText || !sonvale::tests::isSuccess(*response))
            std::abort();
        checkCleaned(answer.content, rawTexts[1]);
    } catch (const TextProcessingError& error) {
        if (!sonvale::base::isValidUtf8(error.errorDescription()))
            std::abort();
    }
    return 0;
}
