#pragma once

#include "platform/Pasteboard.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::insertion {

/// The pasteboard's contents at one moment.
struct PasteboardSnapshot {
    /// Deep copies; absent when the pasteboard could not be asked.
    std::optional<std::vector<platform::PasteboardItem>> items;
    std::int64_t changeCount = 0;
    bool operator==(const PasteboardSnapshot&) const = default;
};

/// Saves the contents of the general pasteboard and puts them back. It holds nothing of its own, and its
/// copies are equal; the pasteboard must outlive them.
///
/// On the caller's thread, for about three seconds at most. Access to the pasteboard has no lock: callers on
/// different actors must not overlap, except for `prepareToSave` and `dropPrepared`.
class ClipboardManager {
public:
    explicit ClipboardManager(platform::Pasteboard& pasteboard)
        : pasteboard_(&pasteboard) {}

    /// Starts to read the contents, so that the next `saveContents` need not wait for a slow program. Returns
    /// at once. Any thread.
    void prepareToSave() const;

    /// Frees what `prepareToSave` has read. Returns at once. Any thread.
    void dropPrepared() const;

    PasteboardSnapshot saveContents() const;

    /// Puts the snapshot in the place of whatever is on the pasteboard now, changed by others or not. An
    /// empty or absent one leaves it empty.
    void restoreContents(PasteboardSnapshot snapshot) const;

    /// Puts this plain text, and nothing else, on the pasteboard.
    void replaceContents(const std::string& text) const;

private:
    platform::Pasteboard* pasteboard_;
};

} // namespace sonvale::insertion
