#pragma once

#include "platform/UrlSession.h"

#include <QAbstractSocket>
#include <QNetworkReply>
#include <exception>
#include <optional>

namespace sonvale::adapters::qt {

/// The stage in which a transfer failed: the same error of the system means different things.
enum class TransferStage {
    connecting,
    securing,  ///< until TLS is set up; a request's connecting is part of it
    connected, ///< data was exchanged with the server
};

/// The result of the certificate checks.
enum class CertificateCheck { isFine, hasFailed };

/// Returns the error of this code, with the text for the user.
platform::UrlError urlError(platform::UrlError::Code code);
std::exception_ptr urlFailure(platform::UrlError::Code code);

/// Returns the code for a reply that failed below HTTP, or nullopt for the errors that only repeat an HTTP
/// status.
std::optional<platform::UrlError::Code> codeOf(QNetworkReply::NetworkError error, TransferStage stage,
                                               CertificateCheck certificates);

/// Returns the code for a socket that failed before its handshake was complete.
platform::UrlError::Code codeOf(QAbstractSocket::SocketError error, TransferStage stage,
                                CertificateCheck certificates);

} // namespace sonvale::adapters::qt
