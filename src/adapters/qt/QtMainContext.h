#pragma once

#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <functional>
#include <memory>

namespace sonvale::adapters::qt {

/// The main actor: posted work runs on Qt's main thread, from Qt's event loop, in the order of posting.
///
/// Must be made after the application object, on its thread, and destroyed there. `clock` must outlive it.
/// Work that is posted after its destruction, or has not run by then, is destroyed without having run. So
/// tasks that must end in order are cancelled and waited for with `runUntil` before.
class QtMainContext {
public:
    QtMainContext(runtime::Clock& clock, std::shared_ptr<runtime::TaskRegistry> registry);
    ~QtMainContext();
    QtMainContext(const QtMainContext&) = delete;
    QtMainContext& operator=(const QtMainContext&) = delete;

    /// Returns the actor "main". It may outlive the context. Any thread.
    runtime::Actor actor() const;

    /// Runs the event loop until `done` holds, for up to `seconds`, and returns whether it holds. For the end
    /// of the program, when Qt's own loop has returned. Other threads may make `done` true. Main thread.
    bool runUntil(const std::function<bool()>& done, double seconds);

private:
    struct State;
    runtime::Clock& clock_;
    std::shared_ptr<runtime::TaskRegistry> registry_;
    std::shared_ptr<State> state_;
};

} // namespace sonvale::adapters::qt
