#pragma once

#include "base/Observed.h"
#include "base/Uuid.h"
#include "runtime/Clock.h"
#include "services/AuthService.h"
#include "services/RequestBody.h"
#include "services/ServiceAddresses.h"
#include "services/SharedUrlSession.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::services {

/// One message of the conversation, as it is shown.
struct ChatMessage {
    base::Uuid id = base::Uuid::make();
    std::string role; ///< "user" or "assistant"
    std::string content{};
    runtime::Date timestamp{};

    bool operator==(const ChatMessage&) const = default;
};

/// A conversation with the support assistant that the backend provides. An answer grows as it comes. It is
/// kept nowhere, and goes with this object, which ends the answer on its way too.
///
/// Lives on the main actor. Held by a shared pointer; its task holds it weakly.
class SupportChatViewModel : public std::enable_shared_from_this<SupportChatViewModel> {
public:
    static constexpr double requestTimeout = 60; ///< seconds without a byte moving

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        ServiceAddresses addresses;
    };

    SupportChatViewModel(Parts parts, std::shared_ptr<AuthService> authService);
    SupportChatViewModel(const SupportChatViewModel&) = delete;
    SupportChatViewModel& operator=(const SupportChatViewModel&) = delete;
    ~SupportChatViewModel();

    /// The greeting, then what was asked and answered, in order. The last one grows while it is answered.
    const std::vector<ChatMessage>& messages() const { return messages_; }
    /// Grows with every change of `messages`, which are not copied for each piece of an answer.
    base::Observed<std::uint64_t> messagesRevision{0};
    base::Observed<std::string> inputText;
    base::Observed<bool> isStreaming{false}; ///< an answer is on its way
    base::Observed<std::optional<std::string>> errorMessage;
    base::Observed<bool> isWaitingForFirstChunk{false};

    const std::shared_ptr<AuthService> authService;

    /// Asks what stands in `inputText`, without the white space around it, and begins to wait for the answer.
    /// Does nothing when that is empty or while another answer is on its way.
    void send();

    /// Goes back to the greeting alone. The answer on its way is given up; the next question need not wait
    /// for that.
    void clear();

    /// The answer on its way; empty for none.
    const runtime::TaskHandle<>& streamTask() const { return streamTask_; }

private:
    using Self = std::shared_ptr<SupportChatViewModel>;

    /// This object as one turn of the conversation reaches it: not at all once it is gone or was cleared.
    struct Turn {
        std::weak_ptr<SupportChatViewModel> weakSelf;
        std::uint64_t number;

        Self self() const;
    };

    static runtime::Task<> stream(Turn turn);
    static runtime::Task<> answer(Turn turn);
    static runtime::Task<> readAnswer(Turn turn, std::shared_ptr<platform::UrlLines> lines);
    RequestBody requestBody() const;
    platform::UrlRequest request(const std::string& token);
    void append(std::string role, std::string content);
    void grow(const std::string& piece);
    bool removeEmptyAnswer();
    void endTurn();

    const Parts parts_;
    SharedUrlSession urlSession_;
    std::optional<std::string> url_; ///< once it was needed
    std::vector<ChatMessage> messages_;
    std::uint64_t turn_ = 0;
    runtime::TaskHandle<> streamTask_;
};

} // namespace sonvale::services
