#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::platform {

/// One thing on the pasteboard in all the forms that its owner offers, in the owner's order. The names of the
/// forms are the system's own (on X11: targets such as "UTF8_STRING" or "image/png").
struct PasteboardItem {
    struct Representation {
        std::string type;
        std::vector<std::byte> data;
        /// Size in bits of the data's units where the system tells units apart (X11: 8, 16 or 32), else 8.
        int unitBits = 8;
        /// The system's own name for the kind of data where it differs from `type` (X11: the property's
        /// type).
        std::string encoding;
        bool operator==(const Representation&) const = default;
    };
    std::vector<Representation> representations;
    bool operator==(const PasteboardItem&) const = default;
};

/// The general pasteboard (clipboard) of the session.
///
/// From any thread, one call at a time per object. Reading asks another program and therefore waits for it:
/// at most about half a second altogether, whatever that program does; what it does not answer in time is
/// left out.
class Pasteboard {
public:
    Pasteboard() = default;
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;
    virtual ~Pasteboard() = default;

    /// A number that grows whenever anybody, this program included, changes the contents.
    virtual std::int64_t changeCount() = 0;

    /// Deep copies of the items with all their forms. An empty vector for an empty pasteboard; absent when
    /// the system cannot be asked.
    virtual std::optional<std::vector<PasteboardItem>> items() = 0;

    /// Empties the pasteboard.
    virtual void clearContents() = 0;

    /// Adds plain text (valid UTF-8) to the pasteboard that `clearContents` has emptied, in the forms that
    /// the system's programs expect of plain text.
    virtual void setString(const std::string& text) = 0;

    /// Puts the items on the pasteboard that `clearContents` has emptied, each with all its forms.
    virtual void writeItems(std::vector<PasteboardItem> items) = 0;

    /// The plain text, when there is any.
    virtual std::optional<std::string> string() = 0;
};

} // namespace sonvale::platform
