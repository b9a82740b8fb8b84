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

/// One message of the conversation for the view.
struct ChatMessage {
    base::Uuid id = base::Uuid::make();
    std::string role; ///< "user" or "assistant"
    std::string content{};
    runtime::Date timestamp{};

    bool operator==(const ChatMessage&) const = default;
};

/// A conversation with the support assistant of the backend. An answer grows while it arrives. The
/// conversation is not stored. Destroying this object ends it and the running answer.
///
/// Lives on the main actor. Owned by a shared pointer; its task holds it weakly.
class SupportChatViewModel : public std::enable_shared_from_this<SupportChatViewModel> {
public:
    static constexpr double requestTimeout = 60; ///< seconds without any data

    /// The objects that it uses. All of them outlive it.
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

    /// Returns the greeting, then questions and answers in order. The last answer grows while it arrives.
    const std::vector<ChatMessage>& messages() const { return messages_; }
    /// Increases with every change of `messages`, which are not copied for each piece of an answer.
    base::Observed<std::uint64_t> messagesRevision{0};
    base::Observed<std::string> inputText;
    base::Observed<bool> isStreaming{false}; ///< whether an answer is arriving
    base::Observed<std::optional<std::string>> errorMessage;
    base::Observed<bool> isWaitingForFirstChunk{false};

    const std::shared_ptr<AuthService> authService;

    /// Sends the question in `inputText`, trimmed, and waits for the answer in a task. Does nothing if the
    /// question is empty or another answer is arriving.
    void send();

    /// Removes everything but the greeting and cancels the running answer. The next question does not wait
    /// for the cancellation.
    void clear();

    /// Returns the task of the running answer; empty if there is none.
    const runtime::TaskHandle<>& streamTask() const { return streamTask_; }

private:
    using Self = std::shared_ptr<SupportChatViewModel>;

    /// Access of one turn of the conversation to this object; none after it is destroyed or cleared.
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
    std::optional<std::string> url_; ///< set when it is first needed
    std::vector<ChatMessage> messages_;
    std::uint64_t turn_ = 0;
    runtime::TaskHandle<> streamTask_;
};

} // namespace sonvale::services
