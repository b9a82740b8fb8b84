#include "platform/qt/NetworkPaths.h"

namespace sonvale::platform::qt {

NetworkPath pathOf(const QNetworkInformation& information) {
    using Medium = QNetworkInformation::TransportMedium;
    NetworkPath path;
    path.isSatisfied = information.reachability() != QNetworkInformation::Reachability::Disconnected;
    if (!path.isSatisfied)
        return path;
    const auto medium = information.transportMedium();
    path.usesWifi = medium == Medium::WiFi;
    path.usesCellular = medium == Medium::Cellular;
    path.usesWiredEthernet = medium == Medium::Ethernet;
    return path;
}

NetworkPath pathOf(const QList<QNetworkInterface>& interfaces) {
    NetworkPath path;
    for (const auto& interface : interfaces) {
        const auto flags = interface.flags();
        if (flags.testFlag(QNetworkInterface::IsLoopBack) || !flags.testFlag(QNetworkInterface::IsUp) ||
            !flags.testFlag(QNetworkInterface::IsRunning))
            continue;
        path.isSatisfied = true;
        path.usesWifi |= interface.type() == QNetworkInterface::Wifi;
        path.usesWiredEthernet |= interface.type() == QNetworkInterface::Ethernet;
    }
    return path;
}

} // namespace sonvale::platform::qt
