#include "platform/qt/HttpCall.h"

#include "platform/qt/BodyDevice.h"
#include "platform/qt/NetworkRequests.h"

#include <QMetaObject>
#include <QSslError>
#include <algorithm>

namespace sonvale::platform::qt {

namespace {

using Code = UrlError::Code;

constexpr int redirectsAtMost = 10;
/// Far above any answer that is meant for this program.
constexpr std::size_t answerBytesAtMost = 64UL << 20U;

bool isSameName(const std::string& name, const char* other) {
    return QByteArray::fromStdString(name).compare(other, Qt::CaseInsensitive) == 0;
}

bool isSameOrigin(const QUrl& a, const QUrl& b) {
    const auto port = [](const QUrl& url) {
        return url.port(url.scheme() == QStringLiteral("https") ? 443 : 80);
    };
    return a.scheme() == b.scheme() && a.host() == b.host() && port(a) == port(b);
}

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

/// RFC 9110, 15.4: 303 asks for another resource; after 301 and 302 a POST has always been made a GET.
bool becomesGet(int status, const std::string& method) {
    if (status == 303)
        return method != "GET" && method != "HEAD";
    return (status == 301 || status == 302) && method == "POST";
}

} // namespace

void HttpCall::Deleter::operator()(QNetworkReply* reply) const {
    reply->disconnect();
    if (reply->isRunning())
        reply->abort();
    // It may be the one whose signal is being handled.
    reply->deleteLater();
}

HttpCall::HttpCall(QNetworkAccessManager& manager, const QSslConfiguration& ssl, UrlRequest request,
                   runtime::Continuation<UrlResponse> caller, std::function<void()> onEnd)
    : manager_(manager)
    , ssl_(ssl)
    , request_(std::move(request))
    , caller_(std::move(caller))
    , onEnd_(std::move(onEnd)) {
    inactivity_.setSingleShot(true);
    inactivity_.setTimerType(Qt::PreciseTimer);
    inactivity_.setInterval(millisecondsOf(request_.timeoutSeconds));
    connect(&inactivity_, &QTimer::timeout, this, [this] { end(urlError(Code::timedOut)); });
}

HttpCall::~HttpCall() {
    if (auto* reply = reply_.release()) {
        // Not later: until it is gone, Qt may read the body.
        reply->disconnect();
        if (reply->isRunning())
            reply->abort();
        delete reply;
    }
    request_.body.reset();

    if (!outcome_)
        caller_.fail(urlFailure(Code::cancelled));
    else if (auto* response = std::get_if<UrlResponse>(&*outcome_))
        caller_.resume(std::move(*response));
    else
        caller_.fail(std::make_exception_ptr(std::get<UrlError>(*outcome_)));
}

void HttpCall::start() {
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

void HttpCall::cancel() {
    end(urlError(Code::cancelled));
}

void HttpCall::send() {
    auto request = makeRequest(url_, request_.headers, ssl_);
    const auto setDefault = [&request](const char* name, const char* value) {
        if (!request.hasRawHeader(name))
            request.setRawHeader(name, value);
    };
    // Otherwise Qt asks for compressed answers and unpacks them, to whatever size.
    setDefault("Accept-Encoding", "identity");
    setDefault("User-Agent", "SonVale");

    const auto method = QByteArray::fromStdString(request_.method);
    stage_ = url_.scheme() == QStringLiteral("https") ? TransferStage::securing : TransferStage::connecting;
    inactivity_.start();
    if (!request_.body && (method == "GET" || method == "HEAD")) {
        watch(manager_.sendCustomRequest(request, method));
        return;
    }

    // Qt complains on stderr about a body without one.
    setDefault("Content-Type", "application/octet-stream");
    // An empty body has its length announced too (RFC 9110, 8.6).
    auto* body = new BodyDevice(request_.body, [this] {
        // Later: Qt is about to read.
        QMetaObject::invokeMethod(
            this, [this] { end(urlError(Code::networkConnectionLost)); }, Qt::QueuedConnection);
    });
    body->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    auto* reply = manager_.sendCustomRequest(request, method, body);
    body->setParent(reply);
    connect(reply, &QNetworkReply::socketStartedConnecting, body, [body] { body->forbidRepeat(); });
    watch(reply);
}

void HttpCall::watch(QNetworkReply* reply) {
    reply_.reset(reply);
    const auto moved = [this] { inactivity_.start(); };
    connect(reply, &QNetworkReply::uploadProgress, this, moved);
    connect(reply, &QNetworkReply::metaDataChanged, this, moved);
    connect(reply, &QNetworkReply::encrypted, this, moved);
    connect(reply, &QNetworkReply::requestSent, this, [this] {
        stage_ = TransferStage::connected;
        inactivity_.start();
    });
    connect(reply, &QNetworkReply::sslErrors, this, [this] { certificates_ = CertificateCheck::hasFailed; });
    connect(reply, &QNetworkReply::readyRead, this, [this] { readMore(); });
    connect(reply, &QNetworkReply::finished, this, [this] { replyFinished(); });
}

void HttpCall::readMore() {
    inactivity_.start();
    const auto more = static_cast<std::size_t>(std::max<qint64>(reply_->bytesAvailable(), 0));
    if (body_.size() + more > answerBytesAtMost) {
        end(UrlError(Code::badServerResponse, "The server's answer is too large."));
        return;
    }
    const auto held = body_.size();
    body_.resize(held + more);
    const auto got = reply_->read(body_.data() + held, static_cast<qint64>(more));
    body_.resize(held + static_cast<std::size_t>(std::max<qint64>(got, 0)));
}

void HttpCall::replyFinished() {
    readMore();
    if (outcome_)
        return;

    std::optional<int> status;
    const auto attribute = reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (attribute.isValid())
        status = attribute.toInt();

    auto failure = codeOf(reply_->error(), stage_, certificates_);
    if (!failure && !status)
        failure = Code::badServerResponse;
    if (failure) {
        end(urlError(*failure));
        return;
    }
    if (!isRedirect(*status) || !followRedirect(*status))
        takeAnswer(status);
}

bool HttpCall::followRedirect(int status) {
    if (!reply_->hasRawHeader("Location"))
        return false;

    const QUrl target =
        url_.resolved(QUrl(QString::fromUtf8(reply_->rawHeader("Location")), QUrl::StrictMode));
    const auto next = parseUrl(target.toString(QUrl::FullyEncoded).toStdString(), QStringLiteral("http"),
                               QStringLiteral("https"));
    const bool isLessSecure =
        url_.scheme() == QStringLiteral("https") && next && next->scheme() == QStringLiteral("http");
    if (!next || isLessSecure || ++redirects_ > redirectsAtMost) {
        end(urlError(Code::badServerResponse));
        return true;
    }

    if (!isSameOrigin(url_, *next))
        std::erase_if(request_.headers,
                      [](const HttpHeader& header) { return isSameName(header.name, "Authorization"); });
    if (becomesGet(status, request_.method)) {
        request_.method = "GET";
        request_.body.reset();
        std::erase_if(request_.headers, [](const HttpHeader& header) {
            return isSameName(header.name, "Content-Type") || isSameName(header.name, "Content-Length");
        });
    }
    url_ = *next;
    body_.clear();
    send();
    return true;
}

void HttpCall::takeAnswer(std::optional<int> status) {
    UrlResponse response;
    response.statusCode = status;
    for (const auto& [name, value] : reply_->rawHeaderPairs())
        response.headers.push_back({name.toStdString(), value.toStdString()});
    response.body = std::move(body_);
    end(std::move(response));
}

void HttpCall::end(std::variant<UrlResponse, UrlError> outcome) {
    if (outcome_)
        return;
    outcome_ = std::move(outcome);
    inactivity_.stop();
    if (reply_) {
        reply_->disconnect(this);
        if (reply_->isRunning())
            reply_->abort();
    }
    onEnd_();
}

} // namespace sonvale::platform::qt
