#include "services/SupportChatViewModel.h"

#include "base/Text.h"
#include "services/SupportChatError.h"
#include "services/SupportMessages.h"

#include <utility>

namespace sonvale::services {

namespace {

constexpr const char* user = "user";
constexpr const char* assistant = "assistant";

constexpr const char* notSignedIn = "You must be signed in to use support chat.";
constexpr const char* requestNotBuilt = "Failed to build request. Please try again.";
constexpr const char* noResponse = "Sorry, I didn't receive a response. Please try again.";
constexpr const char* otherFailure = "Something went wrong. Please check your connection and try again.";

/// Ends a turn with this text for the user.
struct TurnFailure {
    const char* words;
};

} // namespace

SupportChatViewModel::SupportChatViewModel(Parts parts, std::shared_ptr<AuthService> service)
    : authService(std::move(service))
    , parts_(std::move(parts))
    , urlSession_(parts_.urlSessions) {
    append(assistant, std::string(supportGreeting));
}

SupportChatViewModel::~SupportChatViewModel() {
    streamTask_.cancel();
}

SupportChatViewModel::Self SupportChatViewModel::Turn::self() const {
    auto self = weakSelf.lock();
    return self && self->turn_ == number ? self : nullptr;
}

void SupportChatViewModel::send() {
    parts_.main.assertCurrent();
    auto text = base::trimmed(inputText.get());
    // The task begins in a later turn.
    if (text.empty() || isStreaming.get() || streamTask_)
        return;
    inputText = std::string();
    errorMessage = std::nullopt;
    append(user, std::move(text));
    streamTask_ = runtime::spawn(parts_.main, stream({.weakSelf = weak_from_this(), .number = turn_}));
}

void SupportChatViewModel::clear() {
    parts_.main.assertCurrent();
    const auto abandoned = streamTask_;
    endTurn();
    abandoned.cancel();
    messages_.clear();
    errorMessage = std::nullopt;
    append(assistant, std::string(supportGreeting));
}

runtime::Task<> SupportChatViewModel::stream(Turn turn) {
    std::string failure;
    try {
        co_await answer(turn);
    } catch (const TurnFailure& error) {
        failure = error.words;
    } catch (const SupportChatError& error) {
        failure = error.errorDescription();
    } catch (const std::exception&) {
        failure = otherFailure;
    }
    const auto self = turn.self();
    if (!self)
        co_return;
    if (self->removeEmptyAnswer() && failure.empty())
        failure = noResponse;
    if (!failure.empty())
        self->errorMessage = std::move(failure);
    self->endTurn();
}

runtime::Task<> SupportChatViewModel::answer(Turn turn) {
    auto self = turn.self();
    if (!self)
        co_return;
    self->isStreaming = true;
    self->isWaitingForFirstChunk = true;

    const auto service = self->authService;
    self.reset();
    const auto token = co_await service->validAccessToken();
    self = turn.self();
    if (!self)
        co_return;
    if (!token)
        throw TurnFailure{notSignedIn};

    std::optional<RequestBody> body;
    platform::UrlRequest request;
    try {
        body.emplace(self->requestBody());
        request = self->request(*token);
    } catch (const std::exception&) {
        throw TurnFailure{requestNotBuilt};
    }
    request.body = body->bytes();
    self->append(assistant, "");

    auto opening = self->urlSession_.get().lines(std::move(request));
    self.reset();
    auto lines = co_await std::move(opening);
    body.reset();
    co_await readAnswer(turn, std::move(lines));
}

runtime::Task<> SupportChatViewModel::readAnswer(Turn turn, std::shared_ptr<platform::UrlLines> lines) {
    const auto status = lines->head().statusCode;
    if (!status)
        throw SupportChatError::invalidResponse();
    if (*status < 200 || *status > 299)
        throw SupportChatError::serverError(*status);

    SupportStream events;
    while (!events.isEnded()) {
        const auto line = co_await lines->next();
        const auto self = turn.self();
        if (!line || !self)
            break;
        const auto event = events.take(*line);
        if (event.isData)
            self->isWaitingForFirstChunk = false;
        self->grow(event.text);
    }
}

RequestBody SupportChatViewModel::requestBody() const {
    std::vector<SupportMessage> sent;
    sent.reserve(messages_.size());
    for (const auto& message : messages_)
        sent.push_back({.role = message.role, .content = message.content});
    return RequestBody::ofJson(supportBody(sent));
}

platform::UrlRequest SupportChatViewModel::request(const std::string& token) {
    if (!url_)
        url_ = parts_.addresses.backendURL("api/support-chat");
    platform::UrlRequest request;
    request.method = "POST";
    request.url = *url_;
    request.headers = {{"Content-Type", "application/json"}, {"Authorization", "Bearer " + token}};
    request.timeoutSeconds = requestTimeout;
    return request;
}

void SupportChatViewModel::append(std::string role, std::string content) {
    messages_.push_back(
        {.role = std::move(role), .content = std::move(content), .timestamp = parts_.clock.date()});
    messagesRevision = messagesRevision.get() + 1;
}

void SupportChatViewModel::grow(const std::string& piece) {
    if (piece.empty())
        return;
    messages_.back().content += piece;
    messagesRevision = messagesRevision.get() + 1;
}

bool SupportChatViewModel::removeEmptyAnswer() {
    if (messages_.back().role != assistant || !messages_.back().content.empty())
        return false;
    messages_.pop_back();
    messagesRevision = messagesRevision.get() + 1;
    return true;
}

void SupportChatViewModel::endTurn() {
    ++turn_;
    streamTask_ = {};
    isStreaming = false;
    isWaitingForFirstChunk = false;
}

} // namespace sonvale::services
