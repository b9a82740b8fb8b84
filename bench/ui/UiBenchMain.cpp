#include <benchmark/benchmark.h>

#include <QApplication>
#include <cstdlib>

/// The application is destroyed before the static objects: the last windows still need Qt Quick's style,
/// which is one of them.
int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1); // draws into memory
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
