#include <benchmark/benchmark.h>

#include <QApplication>
#include <cstdlib>

/// The application ends before the static objects do: Qt Quick's style, which is one of them, is still needed
/// by the last windows.
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
