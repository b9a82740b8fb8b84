#include "adapters/qt/network/TlsConfiguration.h"

#include <QSslCertificate>

namespace sonvale::adapters::qt {

const QSslConfiguration& TlsConfiguration::get() {
    if (configuration_)
        return *configuration_;
    configuration_ = QSslConfiguration::defaultConfiguration();
    if (authorities_.isEmpty())
        return *configuration_;
    const auto extra = QSslCertificate::fromPath(authorities_);
    // Without its own list, Qt loads the system's authorities when they are needed.
    if (!extra.isEmpty())
        configuration_->setCaCertificates(QSslConfiguration::systemCaCertificates() + extra);
    return *configuration_;
}

} // namespace sonvale::adapters::qt
