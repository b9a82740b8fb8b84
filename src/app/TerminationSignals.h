#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace sonvale::app {

/// Converts SIGTERM, SIGINT and SIGHUP to a call on the main thread, so that a logout or Control-C ends the
/// program as Quit in the menu does: with the clipboard restored and no recording left. One object at a time.
class TerminationSignals {
public:
    explicit TerminationSignals(std::function<void()> onSignal);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace sonvale::app
