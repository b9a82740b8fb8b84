#pragma once

#include "adapters/qt/network/TlsConfiguration.h"

#include "platform/UrlSession.h"

#include <QNetworkRequest>
#include <QUrl>
#include <chrono>
#include <optional>

namespace sonvale::adapters::qt {

/// Returns nullopt if `text` is not a `base::WebAddress` of one of these two schemes.
std::optional<QUrl> parseUrl(const std::string& text, const QString& scheme, const QString& secureScheme);

/// Returns whether these headers can be sent without becoming other headers (RFC 9110, 5.1 and 5.5).
bool areValidHeaders(const std::vector<platform::HttpHeader>& headers);

/// Returns the time as a value that a timer accepts, up to a day, for any number.
std::chrono::milliseconds millisecondsOf(double seconds);

/// Returns whether the connection to this address, which `parseUrl` has returned, uses TLS.
bool isSecure(const QUrl& url);

/// Makes a request that leaves no trace: no cookies, no cache, no stored passwords. Qt follows none of its
/// redirects.
QNetworkRequest makeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers,
                            TlsConfiguration& tls);

} // namespace sonvale::adapters::qt
