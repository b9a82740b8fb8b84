#include "adapters/qt/QtPathMonitor.h"

#include <QCoreApplication>
#include <iostream>
#include <string>

/// A program that is nothing but a path monitor: one line for each report, four digits for satisfied, Wi-Fi,
/// cellular and wired, a blank, and the number of the addresses. When its input ends it ends the monitor, and
/// after that writes "ended".
int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    {
        sonvale::adapters::qt::QtPathMonitor monitor;
        monitor.start([](const sonvale::platform::NetworkPath& path) {
            std::cout << path.isSatisfied << path.usesWifi << path.usesCellular << path.usesWiredEthernet
                      << ' ' << path.addresses << std::endl;
        });
        std::cin.get();
    }
    std::cout << "ended" << std::endl;
}
