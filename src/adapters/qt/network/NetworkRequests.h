#pragma once

#include "platform/UrlSession.h"

#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QUrl>
#include <chrono>
#include <optional>

namespace sonvale::adapters::qt {

/// Returns the system's authorities together with the authorities in this file; empty for none.
QSslConfiguration sslConfiguration(const QString& authorities);

/// Returns nullopt if `text` is not a `base::WebAddress` of one of these two schemes.
std::optional<QUrl> parseUrl(const std::string& text, const QString& scheme, const QString& secureScheme);

/// Returns whether these headers can be sent without becoming other headers (RFC 9110, 5.1 and 5.5).
bool areValidHeaders(const std::vector<platform::HttpHeader>& headers);

/// Returns the time as a value that a timer accepts, up to a day, for any number.
std::chrono::milliseconds millisecondsOf(double seconds);

/// Makes a request that leaves no trace: no cookies, no cache, no stored passwords. Qt follows none of its
/// redirects.
QNetworkRequest makeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers,
                            const QSslConfiguration& ssl);

} // namespace sonvale::adapters::qt
