#include "ui/common/SaveSoon.h"

#include <utility>

namespace sonvale::ui {

SaveSoon::SaveSoon(runtime::Actor main, runtime::Clock& clock, std::function<void()> save)
    : main_(std::move(main))
    , clock_(clock)
    , save_(std::move(save)) {}

SaveSoon::~SaveSoon() {
    flush();
}

void SaveSoon::request() {
    if (std::exchange(isPending_, true))
        return;
    task_ = runtime::spawn(main_, run(self_, &clock_));
}

void SaveSoon::flush() {
    if (!std::exchange(isPending_, false))
        return;
    task_.cancel();
    save_();
}

runtime::Task<> SaveSoon::run(std::weak_ptr<SaveSoon*> weakSelf, runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, delay) == runtime::SleepOutcome::interrupted)
        co_return;
    const auto self = weakSelf.lock();
    if (self && std::exchange((*self)->isPending_, false))
        (*self)->save_();
}

} // namespace sonvale::ui
