#include <gmock/gmock.h>

#include <QCoreApplication>

/// Qt's network library finds its plugins through the application object.
int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
