#pragma once

#include "core/flows/DictationState.h"
#include "insertion/TextInserter.h"
#include "runtime/AsyncMutex.h"
#include "runtime/OwnedTasks.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::core {

/// Runs all operations that use the clipboard or press keys, one after the other. If an insertion began
/// before the last one has restored the clipboard, it would treat that one's text as the user's. Main actor.
class Typing {
public:
    /// The referenced objects must outlive it.
    Typing(DictationState& state, std::shared_ptr<insertion::TextInserter> inserter,
           const runtime::OwnedTasks& tasks);

    /// Set while the screen is locked. Keys would then go to the password field, so no text is typed.
    bool isScreenLocked = false;

    /// Prepares the inserter while the user still speaks. Returns at once.
    void prepare() { inserter_->prepare(); }

    /// Inserts a text at the cursor. Returns whether it was inserted. While the screen is locked, reports
    /// that to the user and does not insert. Ends when the clipboard has been restored.
    runtime::Task<bool> insert(std::string text);

    /// Undoes `insertionCount` insertions and inserts `text` instead. While the screen is locked, only
    /// reports that to the user.
    runtime::Task<> replace(std::int64_t insertionCount, std::string text);

    /// Starts to insert `lastTranscription`. Does nothing if it is empty.
    void beginInsertingLast();
    /// Starts to put a text on the clipboard for the user to keep.
    void beginCopying(std::string text);

    /// Waits until the clipboard is free, and reserves it for the caller.
    runtime::Task<runtime::AsyncMutex::Guard> lockClipboard() { return clipboard_.lock(); }

private:
    runtime::Task<> insertLast();
    runtime::Task<> copy(std::string text);
    bool isPossible();

    DictationState& state_;
    std::shared_ptr<insertion::TextInserter> inserter_;
    const runtime::OwnedTasks& tasks_;
    runtime::AsyncMutex clipboard_; ///< locked while the clipboard or the keys are in use
};

} // namespace sonvale::core
