#pragma once

#include "adapters/qt/network/BodyDevice.h"
#include "adapters/qt/network/KeptConnections.h"
#include "adapters/qt/network/NetworkErrors.h"
#include "adapters/qt/network/TlsConfiguration.h"

#include "platform/UrlSession.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <optional>

namespace sonvale::adapters::qt {

/// One request with its redirects, on the network thread. Derived classes decide what happens to the answer.
/// The connections must outlive it.
class HttpExchange : public QObject {
public:
    ~HttpExchange() override;

    void start();
    void cancel();

protected:
    HttpExchange(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request);

    // Reports to the derived class. An answer that is a followed redirect is not reported.

    /// Reports the head of the answer, once.
    virtual void headCame(const platform::UrlResponse& head) = 0;
    /// Reports that there may be more to `read`.
    virtual void bodyCame() = 0;
    /// Reports the end, once and last. After a complete answer the unread rest can still be read.
    virtual void ended(const std::optional<platform::UrlError>& error) = 0;

    std::size_t bytesAvailable() const;
    /// Appends up to `maxBytes` bytes of the body.
    void read(std::string& to, std::size_t maxBytes);

    /// Ends the exchange with this error, as if it had occurred.
    void end(const std::optional<platform::UrlError>& error);
    bool isEnded() const { return isEnded_; }

    /// Limits how much of the answer is read before `read` asks for it.
    void setReadAhead(qint64 bytes) { readAhead_ = bytes; }

    enum class TimeLimit { runs, paused };
    /// Sets whether the request's time limit runs. It runs from the beginning.
    void setTimeLimit(TimeLimit limit);

    /// Releases the request's body. Nothing reads it afterwards, and the missing part is not sent.
    void releaseBody();
    /// Closes the connection, unless the answer is complete. Nothing can be read afterwards.
    void close();

private:
    struct Deleter {
        void operator()(QNetworkReply* reply) const;
    };

    void send();
    void watch(QNetworkReply* reply);
    void startTimer(double seconds);
    void moved();
    void takeHead();
    void takeBody();
    void replyFinished();
    void followRedirect();
    bool isFollowed() const;
    bool mayBeSentTo(const QUrl& target) const;

    KeptConnections& connections_;
    TlsConfiguration& tls_;
    platform::UrlRequest request_;

    QUrl url_;
    std::string origin_;                             ///< the origin of `url_`
    std::shared_ptr<QNetworkAccessManager> manager_; ///< set by `send`; outlives the reply
    int redirects_ = 0;
    qint64 readAhead_ = 0; ///< 0 means no limit
    TimeLimit timeLimit_ = TimeLimit::runs;
    TransferStage stage_ = TransferStage::connecting;
    CertificateCheck certificates_ = CertificateCheck::isFine;
    QTimer inactivity_;
    QPointer<BodyDevice> bodyDevice_;
    std::optional<int> status_; ///< the status of the present reply; set with its head
    bool isEnded_ = false;
    std::unique_ptr<QNetworkReply, Deleter> reply_;
};

} // namespace sonvale::adapters::qt
