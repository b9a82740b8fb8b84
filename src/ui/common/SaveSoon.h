#pragma once

#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <functional>
#include <memory>

namespace sonvale::ui {

/// Saves text while the user types, without writing to the disk for every key. The first unsaved change
/// starts a delay; after it, all changes are saved at once. Main actor.
class SaveSoon {
public:
    /// The delay in seconds: the maximum of typing that is lost if the process ends.
    static constexpr double delay = 0.2;

    /// `save` is called on the main actor. The destructor saves an unsaved change. `clock` must outlive the
    /// object.
    SaveSoon(runtime::Actor main, runtime::Clock& clock, std::function<void()> save);
    ~SaveSoon();
    SaveSoon(const SaveSoon&) = delete;
    SaveSoon& operator=(const SaveSoon&) = delete;

    /// Notes a change, which is saved after the delay.
    void request();
    /// Saves now. Does nothing if no change is unsaved.
    void flush();

private:
    static runtime::Task<> run(std::weak_ptr<SaveSoon*> weakSelf, runtime::Clock* clock);

    const runtime::Actor main_;
    runtime::Clock& clock_;
    const std::function<void()> save_;
    bool isPending_ = false;
    std::shared_ptr<SaveSoon*> self_ = std::make_shared<SaveSoon*>(this); ///< the task holds it weakly
    runtime::TaskHandle<> task_;
};

} // namespace sonvale::ui
