#pragma once

#include "platform/UrlSession.h"

#include <QAbstractSocket>
#include <QNetworkReply>
#include <exception>
#include <optional>

namespace sonvale::adapters::qt {

/// How far a transfer had come when it failed: the same error of the system means different things.
enum class TransferStage {
    connecting,
    securing,  ///< until TLS is agreed on; of a request, connecting is part of it
    connected, ///< the other side has been spoken to
};

/// Whether certificate checks had complained.
enum class CertificateCheck { isFine, hasFailed };

/// The error of this code, with the words for the user.
platform::UrlError urlError(platform::UrlError::Code code);
std::exception_ptr urlFailure(platform::UrlError::Code code);

/// Of a reply that failed below HTTP; absent for the errors that only repeat an HTTP status.
std::optional<platform::UrlError::Code> codeOf(QNetworkReply::NetworkError error, TransferStage stage,
                                               CertificateCheck certificates);

/// Of a socket that failed before its handshake was done.
platform::UrlError::Code codeOf(QAbstractSocket::SocketError error, TransferStage stage,
                                CertificateCheck certificates);

} // namespace sonvale::adapters::qt
