#include "adapters/qt/network/NetworkRequests.h"

#include "base/WebAddress.h"

#include <algorithm>
#include <cmath>

namespace sonvale::adapters::qt {

namespace {

bool isTokenCharacter(char c) {
    constexpr std::string_view others = "!#$%&'*+-.^_`|~";
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           others.find(c) != std::string_view::npos;
}

bool isControlCharacter(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f;
}

} // namespace

std::optional<QUrl> parseUrl(const std::string& text, const QString& scheme, const QString& secureScheme) {
    const auto address = base::WebAddress::parse(text);
    if (!address)
        return std::nullopt;
    QUrl url(QString::fromStdString(address->text()), QUrl::StrictMode);
    // Qt connects to the host that it parses itself.
    const bool isSameServer = url.isValid() && url.host().toStdString() == address->host() &&
                              url.port(address->port()) == address->port();
    if (!isSameServer || (url.scheme() != scheme && url.scheme() != secureScheme))
        return std::nullopt;
    return url;
}

bool areValidHeaders(const std::vector<platform::HttpHeader>& headers) {
    return std::ranges::all_of(headers, [](const platform::HttpHeader& header) {
        return !header.name.empty() && std::ranges::all_of(header.name, isTokenCharacter) &&
               std::ranges::none_of(header.value, isControlCharacter);
    });
}

std::chrono::milliseconds millisecondsOf(double seconds) {
    constexpr double maxSeconds = 24 * 60 * 60;
    const double bounded = std::isfinite(seconds) ? std::clamp(seconds, 0.0, maxSeconds) : maxSeconds;
    return std::chrono::milliseconds(std::llround(bounded * 1000));
}

bool isSecure(const QUrl& url) {
    return url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("wss");
}

QNetworkRequest makeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers,
                            TlsConfiguration& tls) {
    QNetworkRequest request(url);
    if (isSecure(url))
        request.setSslConfiguration(tls.get());
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    for (const auto& header : headers)
        request.setRawHeader(QByteArray::fromStdString(header.name), QByteArray::fromStdString(header.value));
    return request;
}

} // namespace sonvale::adapters::qt
