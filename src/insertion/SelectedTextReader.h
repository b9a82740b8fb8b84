#pragma once

#include "insertion/ClipboardManager.h"
#include "platform/AccessibilityTree.h"
#include "platform/SyntheticInput.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <optional>
#include <string>

namespace sonvale::insertion {

/// Reads the text that the user has selected in the front application. The referenced objects must outlive
/// its tasks.
class SelectedTextReader {
public:
    /// `actor` is the actor of the insertions, because both use the pasteboard.
    SelectedTextReader(runtime::Actor actor, runtime::Clock& clock,
                       platform::AccessibilityTree& accessibilityTree, platform::Pasteboard& pasteboard,
                       platform::SyntheticInput& input);

    /// Asks the application: fast, and without side effects. Returns nullopt if there is no selection or the
    /// application does not report it. Main actor.
    std::optional<std::string> readViaAccessibility();

    /// Presses "copy", reads the pasteboard 150 ms later and restores it. Returns nullopt if the pasteboard
    /// did not change: an application without a selection copies nothing. Cancelling the task ends the wait
    /// at once; the pasteboard is still restored. From any actor.
    runtime::Task<std::optional<std::string>> readViaClipboard();

private:
    runtime::Task<std::optional<std::string>> copySelection();

    runtime::Actor actor_;
    runtime::Clock& clock_;
    platform::AccessibilityTree& accessibilityTree_;
    platform::Pasteboard& pasteboard_;
    ClipboardManager clipboardManager_;
    platform::SyntheticInput& input_;
};

} // namespace sonvale::insertion
