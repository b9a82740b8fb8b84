#include "insertion/TextInserter.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace sonvale::insertion {

namespace {

constexpr double secondsBeforePaste = 0.05;
constexpr double secondsToReadPasteboard = 0.3;
constexpr double secondsBetweenUndos = 0.08;
constexpr double secondsAfterUndo = 0.1;

/// Returns whether the calling task has been cancelled. A cancellation reaches a task only while it is
/// suspended, and the pasteboard's calls keep the actor for up to half a second.
runtime::Task<bool> isCancelledByNow() {
    std::function<void(runtime::Continuation<>)> comeBack = [](runtime::Continuation<> next) {
        next.resume();
    };
    co_await runtime::suspend<void>(std::move(comeBack));
    co_return co_await runtime::isCurrentTaskCancelled();
}

} // namespace

TextInserter::TextInserter(runtime::Actor actor, runtime::Clock& clock, ClipboardManager clipboardManager,
                           platform::SyntheticInput& input)
    : actor_(std::move(actor))
    , clock_(clock)
    , clipboardManager_(clipboardManager)
    , input_(input) {}

runtime::Task<InsertionToken> TextInserter::insert(std::string text) {
    // Checked on the caller's actor, because an earlier cancellation could reach the other actor too late.
    if (co_await runtime::isCurrentTaskCancelled())
        co_return InsertionToken{std::move(text), clock_.date()};
    const auto end = co_await runtime::runOn(actor_, runInsertion(text));
    co_return InsertionToken{std::move(text), end};
}

runtime::Task<runtime::Date> TextInserter::runInsertion(std::string text) {
    if (co_await isCancelledByNow())
        co_return clock_.date();

    auto snapshot = clipboardManager_.saveContents();
    clipboardManager_.replaceContents(text);
    if (co_await isCancelledByNow()) {
        clipboardManager_.restoreContents(std::move(snapshot));
        co_return clock_.date();
    }

    // Pastes even if the sleep was interrupted: the text is on the pasteboard and must not be lost.
    co_await runtime::sleep(clock_, secondsBeforePaste);
    if (!text.empty())
        input_.pressPaste();
    if (!co_await isCancelledByNow())
        co_await runtime::sleep(clock_, secondsToReadPasteboard);
    clipboardManager_.restoreContents(std::move(snapshot));
    co_return clock_.date();
}

runtime::Task<> TextInserter::copy(std::string text) {
    return runtime::runOn(actor_, runCopy(std::move(text)));
}

runtime::Task<> TextInserter::runCopy(std::string text) {
    clipboardManager_.replaceContents(text);
    co_return;
}

runtime::Task<> TextInserter::undo(std::int64_t count) {
    if (count < 0) {
        std::fputs("TextInserter.undo: the count is negative\n", stderr);
        std::abort();
    }
    return runtime::runOn(actor_, runUndo(count));
}

runtime::Task<> TextInserter::runUndo(std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
        input_.pressUndo();
        if (co_await runtime::sleep(clock_, secondsBetweenUndos) == runtime::SleepOutcome::interrupted)
            co_return;
    }
    co_await runtime::sleep(clock_, secondsAfterUndo);
}

} // namespace sonvale::insertion
