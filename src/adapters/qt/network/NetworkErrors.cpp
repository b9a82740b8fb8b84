#include "adapters/qt/network/NetworkErrors.h"

namespace sonvale::adapters::qt {

namespace {

using Code = platform::UrlError::Code;

const char* wordsFor(Code code) {
    switch (code) {
    case Code::cancelled:
        return "cancelled";
    case Code::badUrl:
        return "The address is not valid.";
    case Code::timedOut:
        return "The request timed out.";
    case Code::cannotFindHost:
        return "A server with the specified hostname could not be found.";
    case Code::cannotConnectToHost:
        return "Could not connect to the server.";
    case Code::networkConnectionLost:
        return "The network connection was lost.";
    case Code::notConnectedToInternet:
        return "The Internet connection appears to be offline.";
    case Code::redirectToNonExistentLocation:
        return "The server redirected the request to another server.";
    case Code::badServerResponse:
        return "The server gave an answer that cannot be used.";
    case Code::secureConnectionFailed:
        return "A secure connection to the server could not be made.";
    case Code::serverCertificateUntrusted:
        return "The certificate of the server is not trusted.";
    case Code::dataLengthExceedsMaximum:
        return "The server's answer is too large.";
    case Code::unknown:
        break;
    }
    return "The request failed.";
}

Code secureFailure(CertificateCheck certificates) {
    return certificates == CertificateCheck::hasFailed ? Code::serverCertificateUntrusted
                                                       : Code::secureConnectionFailed;
}

Code lostOr(Code beforeConnection, TransferStage stage) {
    return stage == TransferStage::connected ? Code::networkConnectionLost : beforeConnection;
}

Code closed(TransferStage stage) {
    return stage == TransferStage::securing ? Code::secureConnectionFailed : Code::networkConnectionLost;
}

bool repeatsHttpStatus(QNetworkReply::NetworkError error) {
    switch (error) {
    case QNetworkReply::NoError:
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::AuthenticationRequiredError:
    case QNetworkReply::ContentConflictError:
    case QNetworkReply::ContentGoneError:
    case QNetworkReply::UnknownContentError:
    case QNetworkReply::ProtocolInvalidOperationError: // for the statuses 400 and 418
    case QNetworkReply::InternalServerError:
    case QNetworkReply::OperationNotImplementedError:
    case QNetworkReply::ServiceUnavailableError:
    case QNetworkReply::UnknownServerError:
        return true;
    default:
        return false;
    }
}

bool isProxyFailure(QNetworkReply::NetworkError error) {
    switch (error) {
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
    case QNetworkReply::UnknownProxyError:
        return true;
    default:
        return false;
    }
}

} // namespace

platform::UrlError urlError(Code code) {
    return {code, wordsFor(code)};
}

std::exception_ptr urlFailure(Code code) {
    return std::make_exception_ptr(urlError(code));
}

std::optional<Code> codeOf(QNetworkReply::NetworkError error, TransferStage stage,
                           CertificateCheck certificates) {
    if (repeatsHttpStatus(error))
        return std::nullopt;
    if (isProxyFailure(error))
        return Code::cannotConnectToHost;
    switch (error) {
    case QNetworkReply::HostNotFoundError:
        return Code::cannotFindHost;
    case QNetworkReply::ConnectionRefusedError:
        return Code::cannotConnectToHost;
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
        return Code::timedOut;
    case QNetworkReply::SslHandshakeFailedError:
        return secureFailure(certificates);
    case QNetworkReply::RemoteHostClosedError:
        return closed(stage);
    case QNetworkReply::ContentReSendError:
        return Code::networkConnectionLost;
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
        return Code::notConnectedToInternet;
    case QNetworkReply::UnknownNetworkError:
        // Before the connection: no route. Later: the route is lost.
        return lostOr(Code::notConnectedToInternet, stage);
    case QNetworkReply::ProtocolUnknownError:
        return Code::badUrl;
    case QNetworkReply::ProtocolFailure:
        return Code::badServerResponse;
    default:
        return Code::unknown;
    }
}

Code codeOf(QAbstractSocket::SocketError error, TransferStage stage, CertificateCheck certificates) {
    switch (error) {
    case QAbstractSocket::HostNotFoundError:
        return Code::cannotFindHost;
    case QAbstractSocket::SocketTimeoutError:
    case QAbstractSocket::ProxyConnectionTimeoutError:
        return Code::timedOut;
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
    case QAbstractSocket::SslInvalidUserDataError:
        return secureFailure(certificates);
    case QAbstractSocket::ConnectionRefusedError:
        // A handshake that the server answers with a status other than 101 is reported so too.
        return stage == TransferStage::connecting ? Code::cannotConnectToHost : Code::badServerResponse;
    case QAbstractSocket::ProxyAuthenticationRequiredError:
    case QAbstractSocket::ProxyConnectionRefusedError:
    case QAbstractSocket::ProxyConnectionClosedError:
    case QAbstractSocket::ProxyNotFoundError:
    case QAbstractSocket::ProxyProtocolError:
        return Code::cannotConnectToHost;
    case QAbstractSocket::NetworkError:
        return lostOr(Code::notConnectedToInternet, stage);
    case QAbstractSocket::RemoteHostClosedError:
        return closed(stage);
    default:
        return lostOr(Code::cannotConnectToHost, stage);
    }
}

} // namespace sonvale::adapters::qt
