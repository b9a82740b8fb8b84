#pragma once

#include "adapters/qt/BodyDevice.h"
#include "adapters/qt/KeptConnections.h"
#include "adapters/qt/NetworkErrors.h"

#include "platform/UrlSession.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QSslConfiguration>
#include <QTimer>
#include <QUrl>
#include <memory>
#include <optional>

namespace sonvale::adapters::qt {

/// One request with its redirects, on the network thread. What becomes of the answer is up to those who
/// derive from it. The connections must outlive it.
class HttpExchange : public QObject {
public:
    ~HttpExchange() override;

    void start();
    void cancel();

protected:
    HttpExchange(KeptConnections& connections, const QSslConfiguration& ssl, platform::UrlRequest request);

    // What happens. Nothing of it is told of an answer that is a redirect which is followed.

    /// The head of the answer has come; told once.
    virtual void headCame(const platform::UrlResponse& head) = 0;
    /// There is more to `read`, or there may be.
    virtual void bodyCame() = 0;
    /// Told once, and last. Behind a whole answer what has not been read yet can still be.
    virtual void ended(const std::optional<platform::UrlError>& error) = 0;

    std::size_t bytesAvailable() const;
    /// Appends at most so many bytes of the body.
    void read(std::string& to, std::size_t most);

    /// Ends the exchange, as if this had happened to it.
    void end(const std::optional<platform::UrlError>& error);
    bool isEnded() const { return isEnded_; }

    /// Bounds what is read of the answer ahead of `read`.
    void setReadAhead(qint64 bytes) { readAhead_ = bytes; }

    enum class TimeLimit { runs, stands };
    /// Whether nothing may move for so long. It runs from the beginning.
    void setTimeLimit(TimeLimit limit);

    /// Nothing reads the request's body after this. What is missing of it is not sent any more.
    void letGoOfBody();
    /// Closes the connection, unless the answer is complete; nothing can be read any more.
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
    const QSslConfiguration ssl_;
    platform::UrlRequest request_;

    QUrl url_;
    std::string origin_;                             ///< of `url_`
    std::shared_ptr<QNetworkAccessManager> manager_; ///< set by `send`; outlives the reply
    int redirects_ = 0;
    qint64 readAhead_ = 0; ///< 0: no bound
    TimeLimit timeLimit_ = TimeLimit::runs;
    TransferStage stage_ = TransferStage::connecting;
    CertificateCheck certificates_ = CertificateCheck::isFine;
    QTimer inactivity_;
    QPointer<BodyDevice> bodyDevice_;
    std::optional<int> status_; ///< of the present reply; set with its head
    bool isEnded_ = false;
    std::unique_ptr<QNetworkReply, Deleter> reply_;
};

} // namespace sonvale::adapters::qt
