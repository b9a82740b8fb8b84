#pragma once

#include <QApplication>
#include <cstdlib>
#include <memory>

namespace sonvale::tests {

/// The one application of the process, drawing into memory: Qt's animations do not outlive the first.
inline void startApplication() {
    static int argc = 1;
    static char name[] = "bench";
    static char* argv[] = {name, nullptr};
    static std::unique_ptr<QApplication> application;
    if (application)
        return;
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    application = std::make_unique<QApplication>(argc, argv);
}

} // namespace sonvale::tests
