#include "adapters/qt/NetworkPaths.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>

namespace sonvale::adapters::qt {

platform::NetworkPath pathOf(const QList<QNetworkInterface>& interfaces) {
    platform::NetworkPath path;
    for (const auto& interface : interfaces) {
        const auto flags = interface.flags();
        if (flags.testFlag(QNetworkInterface::IsLoopBack) || !flags.testFlag(QNetworkInterface::IsUp) ||
            !flags.testFlag(QNetworkInterface::IsRunning))
            continue;
        path.isSatisfied = true;
        path.usesWifi |= interface.type() == QNetworkInterface::Wifi;
        path.usesWiredEthernet |= interface.type() == QNetworkInterface::Ethernet;
    }
    path.addresses = addressesOf(interfaces);
    return path;
}

std::uint64_t addressesOf(const QList<QNetworkInterface>& interfaces) {
    std::set<std::string> addresses;
    for (const auto& interface : interfaces) {
        if (!interface.flags().testFlag(QNetworkInterface::IsUp))
            continue;
        for (const auto& entry : interface.addressEntries()) {
            const auto address = entry.ip();
            if (!address.isLoopback() && !address.isLinkLocal())
                addresses.insert(address.toString().toStdString());
        }
    }
    if (addresses.empty())
        return 0;
    std::string all;
    for (const auto& address : addresses)
        all += address + '\n';
    // 0 means none.
    return std::max<std::uint64_t>(std::hash<std::string>{}(all), 1);
}

} // namespace sonvale::adapters::qt
