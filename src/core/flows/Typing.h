#pragma once

#include "core/flows/DictationState.h"
#include "insertion/TextInserter.h"
#include "runtime/AsyncMutex.h"
#include "runtime/OwnedTasks.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::core {

/// Everything that uses the clipboard or presses keys, one after the other: an insertion that began before
/// the last one had put the clipboard back would take that one's text for the user's. Main actor.
class Typing {
public:
    /// What is referred to must outlive it.
    Typing(DictationState& state, std::shared_ptr<insertion::TextInserter> inserter,
           const runtime::OwnedTasks& tasks);

    /// Set while the screen is locked: keys would then go to the field of the password, so nothing is typed.
    bool isScreenLocked = false;

    /// Prepares the inserter while the user still speaks. Returns at once.
    void prepare() { inserter_->prepare(); }

    /// Inserts a text at the cursor. Returns whether it was inserted; while the screen is locked, it says so
    /// to the user and inserts nothing. Ends when the clipboard has been put back.
    runtime::Task<bool> insert(std::string text);

    /// Undoes `insertionCount` insertions and inserts `text` instead. Does nothing while the screen is
    /// locked, except to say so.
    runtime::Task<> replace(std::int64_t insertionCount, std::string text);

    /// Starts to insert `lastTranscription`; nothing if it is empty.
    void beginInsertingLast();
    /// Starts to put a text on the clipboard for the user to keep.
    void beginCopying(std::string text);

    /// Waits until the clipboard is free, and keeps it for the caller.
    runtime::Task<runtime::AsyncMutex::Guard> lockClipboard() { return clipboard_.lock(); }

private:
    runtime::Task<> insertLast();
    runtime::Task<> copy(std::string text);
    bool isPossible();

    DictationState& state_;
    std::shared_ptr<insertion::TextInserter> inserter_;
    const runtime::OwnedTasks& tasks_;
    runtime::AsyncMutex clipboard_; ///< held while the clipboard or the keys are in use
};

} // namespace sonvale::core
