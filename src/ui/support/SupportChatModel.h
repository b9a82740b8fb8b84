#pragma once

#include "services/SupportChatViewModel.h"
#include "ui/support/SupportMessagesModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// The conversation with the support assistant, as the help tab shows it. A growing answer is updated about
/// thirty times a second, even if its pieces arrive more often. Main actor.
class SupportChatModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(sonvale::ui::SupportMessagesModel* messages READ messages CONSTANT)
    Q_PROPERTY(QString inputText READ inputText WRITE setInputText NOTIFY inputTextChanged)
    Q_PROPERTY(bool isStreaming READ isStreaming NOTIFY isStreamingChanged)
    Q_PROPERTY(bool isWaitingForFirstChunk READ isWaitingForFirstChunk NOTIFY isWaitingForFirstChunkChanged)
    Q_PROPERTY(bool canSend READ canSend NOTIFY canSendChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    /// The interval between updates of a growing answer, in seconds.
    static constexpr double betweenUpdates = 1.0 / 30;

    /// Copies a text to the pasteboard.
    using CopyText = std::function<void(std::string text)>;

    /// All references of `parts` must outlive the model.
    SupportChatModel(services::SupportChatViewModel::Parts parts,
                     std::shared_ptr<services::AuthService> authService, CopyText copyText);
    ~SupportChatModel() override;

    SupportMessagesModel* messages() { return &messages_; }
    QString inputText() const;
    void setInputText(const QString& text);
    bool isStreaming() const { return chat_->isStreaming.get(); }
    bool isWaitingForFirstChunk() const { return chat_->isWaitingForFirstChunk.get(); }
    bool canSend() const { return canSend_; } ///< there is a question, and no answer in progress
    QString errorMessage() const;             ///< empty for none

    Q_INVOKABLE void send();
    Q_INVOKABLE void clear();
    /// Copies the whole message of the row to the pasteboard.
    Q_INVOKABLE void copy(int row);
    /// Clears the conversation and the draft, so that the next user does not see them.
    void forget();

    Q_SIGNAL void inputTextChanged();
    Q_SIGNAL void isStreamingChanged();
    Q_SIGNAL void isWaitingForFirstChunkChanged();
    Q_SIGNAL void canSendChanged();
    Q_SIGNAL void errorMessageChanged();

private:
    void follow();
    void show();
    void updateCanSend();
    static runtime::Task<> showLater(std::weak_ptr<SupportChatModel*> weakSelf, runtime::Clock* clock,
                                     double seconds);

    const runtime::Actor main_;
    runtime::Clock& clock_;
    const CopyText copyText_;
    const std::shared_ptr<services::SupportChatViewModel> chat_;
    SupportMessagesModel messages_;
    std::size_t messageCount_ = 0; ///< the number of shown messages
    double shownAt_ = 0;
    bool canSend_ = false;
    std::vector<base::Subscription> subscriptions_;
    std::shared_ptr<SupportChatModel*> self_ =
        std::make_shared<SupportChatModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> showTask_;               ///< empty while no update is pending
};

} // namespace sonvale::ui
