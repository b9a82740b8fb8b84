#include "textprocessing/PostProcessor.h"

#include "base/Text.h"
#include "textprocessing/CleanUpPrompt.h"
#include "textprocessing/ModelOutput.h"

#include <utility>

namespace sonvale::textprocessing {

namespace {

constexpr std::size_t minCharacters = 4;
constexpr std::int64_t cleanUpMaxTokens = 4096;
constexpr double cleanUpTemperature = 0;

} // namespace

bool isWorthProcessing(const std::string& text) {
    return base::characterCount(text) >= minCharacters;
}

PostProcessor::PostProcessor(OpenAIChatClient client)
    : client_(std::move(client)) {}

runtime::Task<std::string> PostProcessor::process(std::string text, ProcessingContext context,
                                                  bool isFragment) const {
    return clean(client_, std::move(text), std::move(context), isFragment);
}

runtime::Task<std::string> PostProcessor::clean(OpenAIChatClient client, std::string text,
                                                ProcessingContext context, bool isFragment) {
    if (!isWorthProcessing(text))
        co_return text;
    const auto answer = co_await client.complete(
        buildSystemPrompt(context, isFragment), dictationMessage(text), cleanUpMaxTokens, cleanUpTemperature);
    co_return cleanOutput(answer, text);
}

} // namespace sonvale::textprocessing
