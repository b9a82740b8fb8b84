#include "app/TerminationSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace sonvale::app {

namespace {

constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGHUP};

int signalPipe[2] = {-1, -1};

extern "C" void writeSignal(int) {
    const char byte = 1;
    // Only write() is allowed here. A full pipe means that the main thread has already been notified.
    [[maybe_unused]] const auto written = write(signalPipe[1], &byte, 1);
}

void handle(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : handledSignals)
        sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // the signals keep their default action
    notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [onSignal = std::move(onSignal)] {
                         char bytes[16];
                         while (read(signalPipe[0], bytes, sizeof bytes) > 0) {
                         }
                         onSignal();
                     });
    handle(writeSignal);
}

TerminationSignals::~TerminationSignals() {
    handle(SIG_DFL);
    notifier_.reset();
    for (int& end : signalPipe) {
        if (end >= 0)
            close(end);
        end = -1;
    }
}

} // namespace sonvale::app
