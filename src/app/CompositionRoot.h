#pragma once

#include "platform/Directories.h"

#include <memory>

namespace sonvale::app {

/// Puts the program together: the only place that names concrete adapters. Main thread, after the
/// QApplication.
class CompositionRoot {
public:
    explicit CompositionRoot(platform::Directories directories);
    ~CompositionRoot();
    CompositionRoot(const CompositionRoot&) = delete;
    CompositionRoot& operator=(const CompositionRoot&) = delete;

    /// Runs the launch sequence; the main loop has to run afterwards.
    void launch();

    /// The user has started the program once more.
    void reopen();

    /// After the main loop: throws a running recording away, lets the insertion in flight put the clipboard
    /// back, and ends all tasks and threads. Some seconds at most.
    void shutDown();

private:
    void makeMenu();

    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace sonvale::app
