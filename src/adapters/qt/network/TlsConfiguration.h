#pragma once

#include <QSslConfiguration>
#include <QString>
#include <optional>

namespace sonvale::adapters::qt {

/// How secure connections are made. Network thread.
class TlsConfiguration {
public:
    /// `authorities` names a file of additional trusted certificates; empty for none.
    explicit TlsConfiguration(QString authorities)
        : authorities_(std::move(authorities)) {}

    /// Returns the system's authorities together with the file's. The first call reads them and loads
    /// the TLS library, which needs some megabytes, so call it only for a secure connection.
    const QSslConfiguration& get();

private:
    const QString authorities_;
    std::optional<QSslConfiguration> configuration_;
};

} // namespace sonvale::adapters::qt
