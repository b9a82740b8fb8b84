#pragma once

#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// The main actor: work that is posted to it runs on Qt's main thread, from Qt's event loop, in the order in
/// which it was posted.
///
/// Make it after the application object, on its thread, and destroy it there. `clock` must outlive it. What
/// is posted once it is gone, or has not run by then, is destroyed without having run; tasks that must end in
/// order are therefore cancelled, and waited for with `runUntil`, before.
class QtMainContext {
public:
    QtMainContext(runtime::Clock& clock, std::shared_ptr<runtime::TaskRegistry> registry);
    ~QtMainContext();
    QtMainContext(const QtMainContext&) = delete;
    QtMainContext& operator=(const QtMainContext&) = delete;

    /// The actor "main". It may outlive the context. From any thread.
    runtime::Actor actor() const;

    /// Runs the event loop until `done` holds, at most `seconds`; returns whether it holds. For the end of
    /// the program, when Qt's own loop has returned: `done` may become true by other threads. Main thread.
    bool runUntil(const std::function<bool()>& done, double seconds);

private:
    struct State;
    runtime::Clock& clock_;
    std::shared_ptr<runtime::TaskRegistry> registry_;
    std::shared_ptr<State> state_;
};

} // namespace sonvale::adapters::qt
