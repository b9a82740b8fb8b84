#pragma once

#include "platform/Pasteboard.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::insertion {

/// The pasteboard's contents at one time.
struct PasteboardSnapshot {
    /// Deep copies; nullopt if the pasteboard could not be read.
    std::optional<std::vector<platform::PasteboardItem>> items;
    std::int64_t changeCount = 0;
    bool operator==(const PasteboardSnapshot&) const = default;
};

/// Saves the contents of the general pasteboard and restores them. It has no state of its own, and its copies
/// are equal; the pasteboard must outlive them.
///
/// Runs on the caller's thread, for up to about three seconds. Access to the pasteboard has no lock: callers
/// on different actors must not overlap, except for `prepareToSave` and `dropPrepared`.
class ClipboardManager {
public:
    explicit ClipboardManager(platform::Pasteboard& pasteboard)
        : pasteboard_(&pasteboard) {}

    /// Starts to read the contents, so that the next `saveContents` does not wait for a slow program. Returns
    /// at once. Any thread.
    void prepareToSave() const;

    /// Frees what `prepareToSave` has read. Returns at once. Any thread.
    void dropPrepared() const;

    PasteboardSnapshot saveContents() const;

    /// Replaces the contents of the pasteboard by the snapshot, also if another program has changed them. An
    /// empty snapshot, or one without items, leaves the pasteboard empty.
    void restoreContents(PasteboardSnapshot snapshot) const;

    /// Replaces the contents of the pasteboard by this plain text.
    void replaceContents(const std::string& text) const;

private:
    platform::Pasteboard* pasteboard_;
};

} // namespace sonvale::insertion
