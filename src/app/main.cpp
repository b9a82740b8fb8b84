#include "adapters/freedesktop/XdgDirectories.h"

#include "app/CompositionRoot.h"
#include "app/FreedMemory.h"
#include "app/SingleInstance.h"
#include "app/TerminationSignals.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <QApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    using namespace sonvale;

    // Recordings, texts and tokens: no other user can read a file of the program, and none ends up in a core
    // file.
    umask(077);
    constexpr rlimit noCoreFile{0, 0};
    setrlimit(RLIMIT_CORE, &noCoreFile);
    // A peer that closes its end causes an error of that call, and does not end the program.
    std::signal(SIGPIPE, SIG_IGN);

    app::keepFreedMemoryTogether();

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Son Vale"));
    QApplication::setDesktopFileName(QStringLiteral("com.sonvale.app"));
    QApplication::setQuitOnLastWindowClosed(false);

    const auto directories = adapters::freedesktop::XdgDirectories::resolve();
    const char* display = std::getenv("DISPLAY");
    app::SingleInstance instance(directories.temporary, display ? display : "");
    if (!instance.isFirst()) {
        instance.notifyFirst();
        std::fputs("Son Vale is already running.\n", stderr);
        return EXIT_SUCCESS;
    }

    app::CompositionRoot root(directories);
    const app::TerminationSignals signals([] { QApplication::quit(); });
    root.launch();
    instance.listen([&root] { root.reopen(); });
    const int status = QApplication::exec();
    root.shutDown();
    return status;
}
