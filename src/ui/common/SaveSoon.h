#pragma once

#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <functional>
#include <memory>

namespace sonvale::ui {

/// Keeps what is being typed without writing to the disk at every key: the first change that is not kept yet
/// is kept, with all that followed it, a moment later. Main actor.
class SaveSoon {
public:
    /// How much typing an end of the process can cost, in seconds.
    static constexpr double delay = 0.2;

    /// `save` is called on the main actor, for the last time by the destructor. `clock` must outlive it.
    SaveSoon(runtime::Actor main, runtime::Clock& clock, std::function<void()> save);
    ~SaveSoon();
    SaveSoon(const SaveSoon&) = delete;
    SaveSoon& operator=(const SaveSoon&) = delete;

    /// Something has changed.
    void request();
    /// Keeps it now, if there is something.
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
