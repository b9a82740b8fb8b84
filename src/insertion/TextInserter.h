#pragma once

#include "insertion/ClipboardManager.h"
#include "platform/SyntheticInput.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <cstdint>
#include <string>

namespace sonvale::insertion {

/// Record of one insertion.
struct InsertionToken {
    std::string text;
    runtime::Date insertedAt; ///< when the insertion had ended
};

/// Puts text into the front application by the pasteboard and a pressed "paste", and takes it back by "undo".
///
/// A serial actor: its steps run one at a time on the actor that it is given, but each of its sleeps lets
/// other work in, so that a second insertion would take the first one's text for the user's. Running
/// insertions one after the other is up to the callers. It pastes into whatever is in front when the keys
/// arrive, and does not check for permission; without it nothing is pasted. Clock, pasteboard and input must
/// outlive its tasks.
class TextInserter {
public:
    TextInserter(runtime::Actor actor, runtime::Clock& clock, ClipboardManager clipboardManager,
                 platform::SyntheticInput& input);

    /// Starts to read the user's clipboard for the next `insert`. A program that holds a large picture can
    /// need seconds to hand it over, and by then the user is still speaking. Returns at once. Any thread.
    void prepare() const { clipboardManager_.prepareToSave(); }

    /// Frees what `prepare` has read; called when no insertion follows. Returns at once. Any thread.
    void dropPrepared() const { clipboardManager_.dropPrepared(); }

    /// Pastes `text` and puts the pasteboard back; about 350 ms, 50 of them before the paste, and up to 3 s
    /// more if the clipboard's owner is slow and `prepare` was called too late. Never fails. From any actor;
    /// its end comes back on the caller's. For an empty text "paste" is not pressed, because it would delete
    /// what the user has selected; everything else is the same.
    ///
    /// Cancelling: before the text is on the pasteboard nothing is pasted; afterwards the paste is pressed
    /// without the wait before it. The pasteboard is put back at once, and the token comes in every case.
    runtime::Task<InsertionToken> insert(std::string text);

    /// Presses "undo" `count` times, 80 ms apart, and lets the last one settle for 100 ms more. From any
    /// actor. A negative count is a programming error and ends the process. Cancelling it leaves out the
    /// presses to come.
    runtime::Task<> undo(std::int64_t count);

    /// Puts `text` on the pasteboard to stay. From any actor; an insertion must not be under way.
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
