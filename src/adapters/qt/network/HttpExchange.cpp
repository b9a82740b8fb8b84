#include "adapters/qt/network/HttpExchange.h"

#include "adapters/qt/network/NetworkRequests.h"

#include "base/WebAddress.h"

#include <QSslError>
#include <algorithm>

namespace sonvale::adapters::qt {

namespace {

using Code = platform::UrlError::Code;

constexpr int maxRedirects = 10;

bool isSameName(const std::string& name, const char* other) {
    return QByteArray::fromStdString(name).compare(other, Qt::CaseInsensitive) == 0;
}

/// Returns the origin of an address that `parseUrl` has returned.
std::string originOf(const QUrl& url) {
    const auto address = base::WebAddress::parse(url.toString(QUrl::FullyEncoded).toStdString());
    return address ? address->origin() : std::string();
}

/// Returns the address that a Location header names (RFC 9110, 10.2.2), or an empty text if it names none.
std::string redirectTarget(const QUrl& from, const QByteArray& location) {
    const QUrl reference(QString::fromUtf8(location), QUrl::StrictMode);
    if (!reference.isValid())
        return {};
    // Qt corrects a host ("127.1") when it resolves a reference, so an address with its own host stays as it
    // is.
    if (!reference.isRelative())
        return location.toStdString();
    if (location.startsWith("//"))
        return from.scheme().toStdString() + ':' + location.toStdString();
    return from.resolved(reference).toString(QUrl::FullyEncoded).toStdString();
}

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// RFC 9110, 15.4: 303 asks for another resource, and after 301 and 302 a POST becomes a GET by tradition.
bool becomesGet(int status, const std::string& method) {
    if (status == 303)
        return method != "GET" && method != "HEAD";
    return (status == 301 || status == 302) && method == "POST";
}

} // namespace

void HttpExchange::Deleter::operator()(QNetworkReply* reply) const {
    reply->disconnect();
    if (reply->isRunning())
        reply->abort();
    // Deleted later, because this may be the reply whose signal is being handled.
    reply->deleteLater();
}

HttpExchange::HttpExchange(KeptConnections& connections, TlsConfiguration& tls, platform::UrlRequest request)
    : connections_(connections)
    , tls_(tls)
    , request_(std::move(request)) {
    inactivity_.setSingleShot(true);
    inactivity_.setTimerType(Qt::PreciseTimer);
    connect(&inactivity_, &QTimer::timeout, this, [this] { end(urlError(Code::timedOut)); });
}

HttpExchange::~HttpExchange() {
    close();
}

void HttpExchange::close() {
    if (auto* reply = reply_.release()) {
        // Disconnects only this object: Qt itself closes the connection by a signal of the reply. Deletes the
        // reply at once, because Qt may read the body while the reply exists.
        reply->disconnect(this);
        if (reply->isRunning())
            reply->abort();
        delete reply;
    }
    request_.body.reset();
}

void HttpExchange::releaseBody() {
    if (bodyDevice_)
        bodyDevice_->release();
    request_.body.reset();
}

void HttpExchange::start() {
    const auto url = parseUrl(request_.url, QStringLiteral("http"), QStringLiteral("https"));
    const bool isValidMethod =
        areValidHeaders({{.name = request_.method, .value = ""}}) && areValidHeaders(request_.headers);
    if (!url || !isValidMethod) {
        end(urlError(Code::badUrl));
        return;
    }
    url_ = *url;
    send();
}

void HttpExchange::cancel() {
    end(urlError(Code::cancelled));
}

void HttpExchange::setTimeLimit(TimeLimit limit) {
    timeLimit_ = limit;
    if (limit == TimeLimit::paused || isEnded_)
        inactivity_.stop();
    else if (!inactivity_.isActive())
        startTimer(request_.timeoutSeconds);
}

void HttpExchange::startTimer(double seconds) {
    inactivity_.start(millisecondsOf(seconds));
}

void HttpExchange::moved() {
    if (timeLimit_ == TimeLimit::runs)
        startTimer(request_.timeoutSeconds);
}

void HttpExchange::send() {
    auto request = makeRequest(url_, request_.headers, tls_);
    const auto setDefault = [&request](const char* name, const char* value) {
        if (!request.hasRawHeader(name))
            request.setRawHeader(name, value);
    };
    // Otherwise Qt asks for compressed answers and decompresses them to any size.
    setDefault("Accept-Encoding", "identity");
    setDefault("User-Agent", "SonVale");

    const auto method = QByteArray::fromStdString(request_.method);
    stage_ = isSecure(url_) ? TransferStage::securing : TransferStage::connecting;
    status_.reset();
    origin_ = originOf(url_);
    manager_ = connections_.take(origin_);
    if (timeLimit_ == TimeLimit::runs)
        startTimer(std::min(request_.timeoutSeconds,
                            request_.connectTimeoutSeconds.value_or(request_.timeoutSeconds)));
    if (!request_.body && (method == "GET" || method == "HEAD")) {
        watch(manager_->sendCustomRequest(request, method));
        return;
    }

    // Qt warns on stderr about a body without a type.
    setDefault("Content-Type", "application/octet-stream");
    // The length of an empty body is announced too (RFC 9110, 8.6).
    auto* body = new BodyDevice(request_.body);
    bodyDevice_ = body;
    body->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    auto* reply = manager_->sendCustomRequest(request, method, body);
    body->setParent(reply);
    watch(reply);
}

void HttpExchange::watch(QNetworkReply* reply) {
    reply_.reset(reply);
    if (readAhead_ > 0)
        reply->setReadBufferSize(readAhead_);
    connect(reply, &QNetworkReply::uploadProgress, this, [this] { moved(); });
    connect(reply, &QNetworkReply::encrypted, this, [this] { moved(); });
    connect(reply, &QNetworkReply::metaDataChanged, this, [this] {
        moved();
        takeHead();
    });
    connect(reply, &QNetworkReply::requestSent, this, [this] {
        stage_ = TransferStage::connected;
        moved();
    });
    connect(reply, &QNetworkReply::sslErrors, this, [this] { certificates_ = CertificateCheck::hasFailed; });
    connect(reply, &QNetworkReply::readyRead, this, [this] {
        moved();
        takeHead();
        takeBody();
    });
    connect(reply, &QNetworkReply::finished, this, [this] { replyFinished(); });
}

bool HttpExchange::isFollowed() const {
    return status_ && isRedirect(*status_) && reply_->hasRawHeader("Location");
}

void HttpExchange::takeHead() {
    const auto status = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (isEnded_ || status_ || !status.isValid())
        return;
    status_ = status.toInt();
    if (bodyDevice_)
        bodyDevice_->answerCame();
    if (isFollowed())
        return;
    platform::UrlResponse head;
    head.statusCode = status_;
    for (const auto& [name, value] : reply_->rawHeaderPairs())
        head.headers.push_back({name.toStdString(), value.toStdString()});
    headCame(head);
}

void HttpExchange::takeBody() {
    if (isEnded_ || !status_)
        return;
    if (isFollowed())
        reply_->skip(reply_->bytesAvailable());
    else
        bodyCame();
}

std::size_t HttpExchange::bytesAvailable() const {
    return reply_ ? static_cast<std::size_t>(std::max<qint64>(reply_->bytesAvailable(), 0)) : 0;
}

void HttpExchange::read(std::string& to, std::size_t most) {
    const auto held = to.size();
    const auto more = std::min(most, bytesAvailable());
    to.resize(held + more);
    const auto got = more == 0 ? 0 : reply_->read(to.data() + held, static_cast<qint64>(more));
    to.resize(held + static_cast<std::size_t>(std::max<qint64>(got, 0)));
}

void HttpExchange::replyFinished() {
    takeHead();
    takeBody();
    if (isEnded_)
        return;

    connections_.used(origin_, manager_, keepAliveTimeout(reply_->rawHeader("Keep-Alive")));
    auto failure = codeOf(reply_->error(), stage_, certificates_);
    if (!failure && !status_)
        failure = Code::badServerResponse;
    if (failure)
        end(urlError(*failure));
    else if (isFollowed())
        followRedirect();
    else
        end(std::nullopt);
}

/// The user's speech, the text made from it and the account's key go to the servers that the program chooses,
/// and not where such a server redirects.
bool HttpExchange::mayBeSentTo(const QUrl& target) const {
    const bool isPlainQuestion = !request_.body && (request_.method == "GET" || request_.method == "HEAD");
    const bool isAuthorized = std::ranges::any_of(request_.headers, [](const platform::HttpHeader& header) {
        return isSameName(header.name, "Authorization");
    });
    return (isPlainQuestion && !isAuthorized) || originOf(target) == origin_;
}

void HttpExchange::followRedirect() {
    const auto next = parseUrl(redirectTarget(url_, reply_->rawHeader("Location")), QStringLiteral("http"),
                               QStringLiteral("https"));
    const bool isLessSecure = isSecure(url_) && next && !isSecure(*next);
    if (!next || isLessSecure || ++redirects_ > maxRedirects) {
        end(urlError(Code::badServerResponse));
        return;
    }

    if (!mayBeSentTo(*next)) {
        end(urlError(Code::redirectToNonExistentLocation));
        return;
    }
    if (becomesGet(*status_, request_.method)) {
        request_.method = "GET";
        request_.body.reset();
        std::erase_if(request_.headers, [](const platform::HttpHeader& header) {
            return isSameName(header.name, "Content-Type") || isSameName(header.name, "Content-Length");
        });
    }
    url_ = *next;
    send();
}

void HttpExchange::end(const std::optional<platform::UrlError>& error) {
    if (isEnded_)
        return;
    isEnded_ = true;
    inactivity_.stop();
    if (reply_) {
        reply_->disconnect(this);
        if (reply_->isRunning())
            reply_->abort();
    }
    ended(error);
}

} // namespace sonvale::adapters::qt
