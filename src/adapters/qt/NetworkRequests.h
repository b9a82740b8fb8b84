#pragma once

#include "platform/UrlSession.h"

#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QUrl>
#include <chrono>
#include <optional>

namespace sonvale::adapters::qt {

/// The system's authorities and those of this file; empty for none.
QSslConfiguration sslConfiguration(const QString& authorities);

/// Returns nullopt if `text` is not a `base::WebAddress` of one of these two schemes.
std::optional<QUrl> parseUrl(const std::string& text, const QString& scheme, const QString& secureScheme);

/// Whether these headers can be sent without becoming other headers (RFC 9110, 5.1 and 5.5).
bool areValidHeaders(const std::vector<platform::HttpHeader>& headers);

/// Any number that a caller may come with, made one that a timer takes: a day at most.
std::chrono::milliseconds millisecondsOf(double seconds);

/// A request that leaves no trace: no cookies, no cache, no stored passwords, no redirect followed by itself.
QNetworkRequest makeRequest(const QUrl& url, const std::vector<platform::HttpHeader>& headers,
                            const QSslConfiguration& ssl);

} // namespace sonvale::adapters::qt
