#pragma once

#include "platform/Directories.h"

#include <memory>

namespace sonvale::app {

/// Builds the program from its parts: the only place that names concrete adapters. Main thread, after the
/// QApplication.
class CompositionRoot {
public:
    explicit CompositionRoot(platform::Directories directories);
    ~CompositionRoot();
    CompositionRoot(const CompositionRoot&) = delete;
    CompositionRoot& operator=(const CompositionRoot&) = delete;

    /// Runs the launch sequence. The main loop must run afterwards.
    void launch();

    /// Called when the user has started the program again.
    void reopen();

    /// Called after the main loop: discards a running recording, lets a running insertion restore the
    /// clipboard, and ends all tasks and threads. Takes up to some seconds.
    void shutDown();

private:
    void makeMenu();

    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace sonvale::app
