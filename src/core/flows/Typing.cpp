#include "core/flows/Typing.h"

#include <utility>

namespace sonvale::core {

Typing::Typing(DictationState& state, std::shared_ptr<insertion::TextInserter> inserter,
               const runtime::OwnedTasks& tasks)
    : state_(state)
    , inserter_(std::move(inserter))
    , tasks_(tasks) {}

runtime::Task<bool> Typing::insert(std::string text) {
    const auto turn = co_await clipboard_.lock();
    if (!isPossible())
        co_return false;
    co_await inserter_->insert(std::move(text));
    co_return true;
}

runtime::Task<> Typing::replace(std::int64_t insertionCount, std::string text) {
    const auto turn = co_await clipboard_.lock();
    if (!isPossible())
        co_return;
    co_await inserter_->undo(insertionCount);
    co_await inserter_->insert(std::move(text));
}

bool Typing::isPossible() {
    if (isScreenLocked)
        state_.surfaceError(
            "The screen was locked, so nothing was typed. Your text is kept as the last transcript.");
    return !isScreenLocked;
}

void Typing::beginInsertingLast() {
    if (!state_.lastTranscription->empty())
        tasks_.callKeeping(*this, &Typing::insertLast);
}

runtime::Task<> Typing::insertLast() {
    co_await insert(state_.lastTranscription.get());
}

void Typing::beginCopying(std::string text) {
    tasks_.callKeeping(*this, &Typing::copy, std::move(text));
}

runtime::Task<> Typing::copy(std::string text) {
    const auto turn = co_await clipboard_.lock();
    co_await inserter_->copy(std::move(text));
}

} // namespace sonvale::core
