#pragma once

#include "persistence/AuditLogger.h"
#include "runtime/Clock.h"
#include "services/ServiceAddresses.h"
#include "services/SharedUrlSession.h"
#include "services/TokenProvider.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::textprocessing {

/// Sends requests to a language model, through the backend or, with a key, to the service itself. Any thread;
/// immutable, so calls are independent. The objects that it uses must outlive its calls.
class OpenAIChatClient {
public:
    static constexpr double requestTimeout = 30; ///< seconds without any data

    /// The objects that it uses. All of them outlive it.
    struct Parts {
        runtime::Actor pool;
        runtime::Clock& clock;
        std::shared_ptr<services::SharedUrlSession> urlSession; ///< shared by all clients
        persistence::AuditLogger& auditLogger;
        services::ServiceAddresses addresses;
        services::TokenProvider tokenProvider;
    };

    explicit OpenAIChatClient(Parts parts);

    /// Returns the model's answer unchanged, never empty. Runs on the pool. Throws `TextProcessingError` and
    /// does not retry. Cancelling the task closes the connection and ends it with `networkError`.
    runtime::Task<std::string> complete(std::string systemPrompt, std::string userMessage,
                                        std::int64_t maxTokens, double temperature) const;

private:
    struct Question {
        std::string systemPrompt;
        std::string userMessage;
        std::int64_t maxTokens;
        double temperature;
    };
    static runtime::Task<std::string> ask(std::shared_ptr<const Parts> parts, Question question);

    std::shared_ptr<const Parts> parts_; ///< shared with the running calls
};

} // namespace sonvale::textprocessing
