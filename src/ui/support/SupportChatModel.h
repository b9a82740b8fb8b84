#pragma once

#include "services/SupportChatViewModel.h"
#include "ui/support/SupportMessagesModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// What the help tab shows: the conversation with the support assistant. An answer that grows is shown some
/// thirty times a second, however small its pieces are. Main actor.
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
    /// Seconds between two looks at an answer that grows.
    static constexpr double betweenUpdates = 1.0 / 30;

    /// Puts a text on the pasteboard.
    using CopyText = std::function<void(std::string text)>;

    /// What `parts` refers to must outlive the model.
    SupportChatModel(services::SupportChatViewModel::Parts parts,
                     std::shared_ptr<services::AuthService> authService, CopyText copyText);
    ~SupportChatModel() override;

    SupportMessagesModel* messages() { return &messages_; }
    QString inputText() const;
    void setInputText(const QString& text);
    bool isStreaming() const { return chat_->isStreaming.get(); }
    bool isWaitingForFirstChunk() const { return chat_->isWaitingForFirstChunk.get(); }
    bool canSend() const { return canSend_; } ///< there is something to ask, and no answer on its way
    QString errorMessage() const;             ///< empty for none

    Q_INVOKABLE void send();
    Q_INVOKABLE void clear();
    /// Puts the whole message of which this row is a part on the pasteboard.
    Q_INVOKABLE void copy(int row);
    /// Leaves nothing of the conversation, and no draft, for whoever signs in next.
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
    std::size_t messageCount_ = 0; ///< as shown
    double shownAt_ = 0;
    bool canSend_ = false;
    std::vector<base::Subscription> subscriptions_;
    std::shared_ptr<SupportChatModel*> self_ =
        std::make_shared<SupportChatModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> showTask_;               ///< empty while nothing waits to be shown
};

} // namespace sonvale::ui
