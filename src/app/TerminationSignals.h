#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace sonvale::app {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread, so that a logout or a Control-C ends the
/// program as the menu's Quit does: with the clipboard put back and no recording left. One object at a time.
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
