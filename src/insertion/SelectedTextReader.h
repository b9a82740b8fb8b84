#pragma once

#include "insertion/ClipboardManager.h"
#include "platform/AccessibilityTree.h"
#include "platform/SyntheticInput.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <optional>
#include <string>

namespace sonvale::insertion {

/// Gets the text that the user has selected in the front application. What it works with must outlive its
/// tasks.
class SelectedTextReader {
public:
    /// `actor` is that of the insertions: both use the pasteboard.
    SelectedTextReader(runtime::Actor actor, runtime::Clock& clock,
                       platform::AccessibilityTree& accessibilityTree, platform::Pasteboard& pasteboard,
                       platform::SyntheticInput& input);

    /// As the application tells it: fast, and without a trace. Nothing without a selection, and from an
    /// application that does not tell. Main actor.
    std::optional<std::string> readViaAccessibility();

    /// By pressing "copy" and looking at the pasteboard 150 ms later, which is then put back as it was.
    /// Nothing when the pasteboard did not change: an application without a selection copies nothing.
    /// Cancelling the task ends the wait at once; the pasteboard is put back all the same. From any actor.
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
