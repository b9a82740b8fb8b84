#pragma once

#include "insertion/ClipboardManager.h"
#include "platform/SyntheticInput.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <cstdint>
#include <string>

namespace sonvale::insertion {

/// The record of one insertion.
struct InsertionToken {
    std::string text;
    runtime::Date insertedAt; ///< the end of the insertion
};

/// Inserts text into the front application by the pasteboard and a synthetic "paste", and removes it by
/// "undo".
///
/// A serial actor: its steps run one at a time on its actor, but other work runs there during its sleeps. A
/// concurrent second insertion would save the first one's text as the user's clipboard, so callers must run
/// insertions one after the other. It pastes into the application that is in front when the keys arrive, and
/// does not check for permission; without the permission nothing is pasted. Clock, pasteboard and input must
/// outlive its tasks.
class TextInserter {
public:
    TextInserter(runtime::Actor actor, runtime::Clock& clock, ClipboardManager clipboardManager,
                 platform::SyntheticInput& input);

    /// Starts to read the user's clipboard for the next `insert`. A program that owns a large picture can
    /// need seconds to deliver it, and the user is still speaking during this time. Returns at once. Any
    /// thread.
    void prepare() const { clipboardManager_.prepareToSave(); }

    /// Frees what `prepare` has read. Called if no insertion follows. Returns at once. Any thread.
    void dropPrepared() const { clipboardManager_.dropPrepared(); }

    /// Pastes `text` and restores the pasteboard. Takes about 350 ms, 50 of them before the paste, and up to
    /// 3 s more if the clipboard's owner is slow and `prepare` was called too late. Never fails. From any
    /// actor; resumes on the caller's. For an empty text it does not press "paste", which would delete the
    /// user's selection; everything else is the same.
    ///
    /// Cancelling: before the text is on the pasteboard nothing is pasted; afterwards "paste" is pressed
    /// without the wait before it. The pasteboard is restored at once. The token is returned in each case.
    runtime::Task<InsertionToken> insert(std::string text);

    /// Presses "undo" `count` times, 80 ms apart, and waits another 100 ms. From any actor. A negative count
    /// is a programming error and aborts. Cancelling skips the remaining presses.
    runtime::Task<> undo(std::int64_t count);

    /// Puts `text` on the pasteboard permanently. From any actor. No insertion may be running.
    runtime::Task<> copy(std::string text);

private:
    runtime::Task<> runCopy(std::string text);
    runtime::Task<runtime::Date> runInsertion(std::string text);
    runtime::Task<> runUndo(std::int64_t count);

    runtime::Actor actor_;
    runtime::Clock& clock_;
    ClipboardManager clipboardManager_;
    platform::SyntheticInput& input_;
};

} // namespace sonvale::insertion
