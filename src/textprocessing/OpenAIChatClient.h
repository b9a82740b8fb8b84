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

/// Asks a language model, through the backend or, with a key, the service itself. Any thread; unchanging, so
/// that calls are independent. What it works with must outlive its calls.
class OpenAIChatClient {
public:
    static constexpr double requestTimeout = 30; ///< seconds without a byte moving

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor pool;
        runtime::Clock& clock;
        std::shared_ptr<services::SharedUrlSession> urlSession; ///< one for all clients
        persistence::AuditLogger& auditLogger;
        services::ServiceAddresses addresses;
        services::TokenProvider tokenProvider;
    };

    explicit OpenAIChatClient(Parts parts);

    /// The model's answer as it came, never empty. Runs on the pool. Throws `TextProcessingError`, once for
    /// all: there is no second try. Cancelling the task closes the connection and ends it with
    /// `networkError`.
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

    std::shared_ptr<const Parts> parts_; ///< shared with the calls that are on their way
};

} // namespace sonvale::textprocessing
