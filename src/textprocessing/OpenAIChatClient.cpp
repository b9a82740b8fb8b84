#include "textprocessing/OpenAIChatClient.h"

#include "base/Log.h"
#include "services/RequestBody.h"
#include "textprocessing/ChatMessages.h"
#include "textprocessing/TextProcessingError.h"

#include <optional>
#include <utility>

namespace sonvale::textprocessing {

OpenAIChatClient::OpenAIChatClient(Parts parts)
    : parts_(std::make_shared<const Parts>(std::move(parts))) {}

runtime::Task<std::string> OpenAIChatClient::complete(std::string systemPrompt, std::string userMessage,
                                                      std::int64_t maxTokens, double temperature) const {
    return runtime::runOn(
        parts_->pool, ask(parts_, {std::move(systemPrompt), std::move(userMessage), maxTokens, temperature}));
}

runtime::Task<std::string> OpenAIChatClient::ask(std::shared_ptr<const Parts> parts, Question question) {
    const auto token = co_await parts->tokenProvider();
    if (!token || token->empty())
        throw TextProcessingError::apiKeyMissing();

    const auto body = services::RequestBody::ofJson(
        chatBody(question.systemPrompt, question.userMessage, question.maxTokens, question.temperature));
    auto request = parts->addresses.post("api/chat", "/v1/chat/completions", *token, "application/json");
    request.headers.push_back({"Cache-Control", "no-store"});
    request.timeoutSeconds = requestTimeout;
    request.body = body.bytes();
    parts->auditLogger.logAIProcessingRequested(chatModel);

    const double startTime = parts->clock.now();
    platform::UrlResponse response;
    std::optional<UnderlyingError> failure;
    try {
        response = co_await parts->urlSession->get().data(std::move(request));
    } catch (const std::exception& error) {
        failure = UnderlyingError::from(error, "OpenAIChatClient");
    }
    if (failure)
        throw TextProcessingError::networkError(*std::move(failure));

    auto answer = chatAnswerFrom(response);
    const auto elapsed = runtime::millisecondsSince(parts->clock, startTime);
    base::perfLog(fmt::format("AI cleanup: {}ms (in: {}, out: {})", elapsed, answer.promptTokens,
                              answer.completionTokens));
    parts->auditLogger.logAIProcessingReceived(answer.promptTokens, answer.completionTokens, elapsed);
    co_return std::move(answer.content);
}

} // namespace sonvale::textprocessing
