#include "ui/support/SupportChatModel.h"

#include "base/Text.h"
#include "ui/common/Texts.h"

#include <utility>

namespace sonvale::ui {

SupportChatModel::SupportChatModel(services::SupportChatViewModel::Parts parts,
                                   std::shared_ptr<services::AuthService> authService, CopyText copyText)
    : main_(parts.main)
    , clock_(parts.clock)
    , copyText_(std::move(copyText))
    , chat_(std::make_shared<services::SupportChatViewModel>(std::move(parts), std::move(authService))) {
    show();
    subscriptions_.push_back(chat_->messagesRevision.subscribe([this](std::uint64_t) { follow(); }));
    subscriptions_.push_back(chat_->inputText.subscribe([this](const std::string&) {
        Q_EMIT inputTextChanged();
        updateCanSend();
    }));
    subscriptions_.push_back(chat_->isStreaming.subscribe([this](bool isStreaming) {
        if (!isStreaming)
            show();
        Q_EMIT isStreamingChanged();
        updateCanSend();
    }));
    subscriptions_.push_back(
        chat_->isWaitingForFirstChunk.subscribe([this](bool) { Q_EMIT isWaitingForFirstChunkChanged(); }));
    subscriptions_.push_back(chat_->errorMessage.subscribe(
        [this](const std::optional<std::string>&) { Q_EMIT errorMessageChanged(); }));
}

SupportChatModel::~SupportChatModel() {
    showTask_.cancel();
}

QString SupportChatModel::inputText() const {
    return toQString(chat_->inputText.get());
}

void SupportChatModel::setInputText(const QString& text) {
    chat_->inputText = text.toStdString();
}

QString SupportChatModel::errorMessage() const {
    return translated(chat_->errorMessage.get().value_or(""));
}

void SupportChatModel::updateCanSend() {
    const bool now = !isStreaming() && !base::trimmed(chat_->inputText.get()).empty();
    if (std::exchange(canSend_, now) != now)
        Q_EMIT canSendChanged();
}

void SupportChatModel::send() {
    chat_->send();
}

void SupportChatModel::clear() {
    chat_->clear();
}

void SupportChatModel::copy(int row) {
    const auto message = messages_.messageAt(row);
    if (message >= 0)
        copyText_(chat_->messages().at(static_cast<std::size_t>(message)).content);
}

void SupportChatModel::forget() {
    chat_->clear();
    chat_->inputText = std::string();
}

void SupportChatModel::follow() {
    const double wait = shownAt_ + betweenUpdates - clock_.now();
    if (chat_->messages().size() != messageCount_ || wait <= 0) {
        show();
        return;
    }
    if (!showTask_)
        showTask_ = runtime::spawn(main_, showLater(self_, &clock_, wait));
}

runtime::Task<> SupportChatModel::showLater(std::weak_ptr<SupportChatModel*> weakSelf, runtime::Clock* clock,
                                            double seconds) {
    if (co_await runtime::sleep(*clock, seconds) == runtime::SleepOutcome::interrupted)
        co_return;
    if (const auto self = weakSelf.lock())
        (*self)->show();
}

void SupportChatModel::show() {
    std::exchange(showTask_, {}).cancel();
    shownAt_ = clock_.now();
    messageCount_ = chat_->messages().size();
    messages_.show(chat_->messages());
}

} // namespace sonvale::ui
