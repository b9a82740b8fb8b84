#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::platform {

/// One item on the pasteboard in all the forms that its owner offers, in the owner's order. The names of the
/// forms are the system's own (on X11: targets such as "UTF8_STRING" or "image/png").
struct PasteboardItem {
    struct Representation {
        std::string type;
        std::vector<std::byte> data;
        /// Size in bits of the data's units if the system distinguishes units (X11: 8, 16 or 32), else 8.
        int unitBits = 8;
        /// The system's own name for the kind of data if it differs from `type` (X11: the property's type).
        std::string encoding;
        bool operator==(const Representation&) const = default;
    };
    std::vector<Representation> representations;
    bool operator==(const PasteboardItem&) const = default;
};

/// The general pasteboard (clipboard) of the session.
///
/// Called from any thread, one call at a time per object except for `prefetch` and `dropPrefetch`. Reading
/// asks another program and waits for it: `items` for up to about 3 s, `string` for up to about half a
/// second.
class Pasteboard {
public:
    Pasteboard() = default;
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;
    virtual ~Pasteboard() = default;

    /// Returns a number that grows whenever any program, this one included, changes the contents.
    virtual std::int64_t changeCount() = 0;

    /// Starts to read the items in the background, so that `items` has them at once even if the program that
    /// owns them needs seconds. Follows each change until `dropPrefetch`. Returns at once. May be called from
    /// any thread, even during another call.
    virtual void prefetch() = 0;

    /// Frees what `prefetch` has read. Returns at once. May be called from any thread, even during another
    /// call.
    virtual void dropPrefetch() = 0;

    /// Returns deep copies of the items with all their forms: an empty vector for an empty pasteboard,
    /// nullopt if the system cannot be asked. Forms that the owner does not give in time are missing. They
    /// may still arrive after the items have been written back, and are then added to them.
    virtual std::optional<std::vector<PasteboardItem>> items() = 0;

    /// Empties the pasteboard.
    virtual void clearContents() = 0;

    /// Adds plain text (valid UTF-8) to the pasteboard that `clearContents` has emptied, in the forms that
    /// the system's programs expect of plain text.
    virtual void setString(const std::string& text) = 0;

    /// Puts the items on the pasteboard that `clearContents` has emptied, each with all its forms.
    virtual void writeItems(std::vector<PasteboardItem> items) = 0;

    /// Returns the plain text, or nullopt if there is none.
    virtual std::optional<std::string> string() = 0;
};

} // namespace sonvale::platform
