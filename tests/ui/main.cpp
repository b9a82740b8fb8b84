#include "tests/support/PrivateDisplay.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

/// Qt chooses its platform and display once per process, so the display is started before the application.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const sonvale::tests::PrivateDisplay display(sonvale::tests::WindowManager::openbox);
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    const sonvale::tests::TemporaryDirectory runtimeDirectory;
    setenv("XDG_RUNTIME_DIR", runtimeDirectory.path().c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    // With scaling, points would not be the display's pixels, which the tests count.
    unsetenv("QT_SCALE_FACTOR");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
