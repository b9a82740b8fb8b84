#include "textprocessing/ChatMessages.h"

#include "base/Text.h"
#include "textprocessing/TextProcessingError.h"

#include <algorithm>
#include <utility>

namespace sonvale::textprocessing {

namespace {

/// Returns the text of the first choice; null if the answer has another shape.
const std::string* firstContent(const base::Json& answer) {
    const auto* choices = base::jsonMember(answer, "choices");
    if (choices == nullptr || !choices->is_array() || choices->empty())
        return nullptr;
    if (!std::ranges::all_of(*choices, [](const base::Json& choice) { return choice.is_object(); }))
        return nullptr;
    const auto* message = base::jsonMember(choices->front(), "message");
    const auto* content = message != nullptr ? base::jsonMember(*message, "content") : nullptr;
    return content != nullptr ? content->get_ptr<const std::string*>() : nullptr;
}

} // namespace

base::Json chatBody(const std::string& systemPrompt, const std::string& userMessage, std::int64_t maxTokens,
                    double temperature) {
    return {
        {"model", chatModel},
        {"max_tokens", maxTokens},
        {"temperature", temperature},
        {"store", false},
        {"messages", base::Json::array({{{"role", "system"}, {"content", systemPrompt}},
                                        {{"role", "user"}, {"content", userMessage}}})},
    };
}

ChatAnswer chatAnswerFrom(const platform::UrlResponse& response) {
    if (!response.statusCode)
        throw TextProcessingError::invalidResponse();
    const int status = *response.statusCode;
    if (status == 426)
        throw TextProcessingError::upgradeRequired();
    if (status < 200 || status > 299)
        throw TextProcessingError::apiError(status, base::isValidUtf8(response.body) ? response.body
                                                                                     : "Unknown error");

    const auto answer = base::parseJson(response.body);
    if (!answer)
        throw TextProcessingError::networkError({"JSON", -1, answer.error().errorDescription()});
    const auto* content = firstContent(*answer);
    if (content == nullptr)
        throw TextProcessingError::invalidResponse();
    if (content->empty())
        throw TextProcessingError::emptyResponse();

    ChatAnswer result;
    result.content = *content;
    if (const auto* usage = base::jsonMember(*answer, "usage")) {
        result.promptTokens = base::jsonInteger(*usage, "prompt_tokens").value_or(0);
        result.completionTokens = base::jsonInteger(*usage, "completion_tokens").value_or(0);
    }
    return result;
}

} // namespace sonvale::textprocessing
