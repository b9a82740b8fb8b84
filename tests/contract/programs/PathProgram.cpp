#include "adapters/qt/QtPathMonitor.h"

#include <QCoreApplication>
#include <iostream>
#include <string>

/// A program that only runs a path monitor. It prints one line per report: four digits for satisfied, Wi-Fi,
/// cellular and wired, a blank, and the number of the addresses. When its input ends it ends the monitor, and
/// after that prints "ended".
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
