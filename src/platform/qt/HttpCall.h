#pragma once

#include "platform/UrlSession.h"
#include "platform/qt/NetworkErrors.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace sonvale::platform::qt {

/// One request with its redirects, on the network thread. It answers its caller when it is destroyed: by then
/// nothing reads the request's body any more.
class HttpCall final : public QObject {
public:
    /// `onEnd` is called once, from a later turn's work it should destroy the call. The manager must outlive
    /// it.
    HttpCall(QNetworkAccessManager& manager, const QSslConfiguration& ssl, UrlRequest request,
             runtime::Continuation<UrlResponse> caller, std::function<void()> onEnd);
    /// Closes the connection of a request that still runs, which has then been cancelled.
    ~HttpCall() override;

    void start();
    void cancel();

private:
    struct Deleter {
        void operator()(QNetworkReply* reply) const;
    };

    void send();
    void watch(QNetworkReply* reply);
    void readMore();
    void replyFinished();
    bool followRedirect(int status);
    void takeAnswer(std::optional<int> status);
    void end(std::variant<UrlResponse, UrlError> outcome);

    QNetworkAccessManager& manager_;
    const QSslConfiguration ssl_;
    UrlRequest request_;
    const runtime::Continuation<UrlResponse> caller_;
    const std::function<void()> onEnd_;

    QUrl url_;
    int redirects_ = 0;
    TransferStage stage_ = TransferStage::connecting;
    CertificateCheck certificates_ = CertificateCheck::isFine;
    QTimer inactivity_;
    std::string body_;
    std::unique_ptr<QNetworkReply, Deleter> reply_;
    std::optional<std::variant<UrlResponse, UrlError>> outcome_;
};

} // namespace sonvale::platform::qt
