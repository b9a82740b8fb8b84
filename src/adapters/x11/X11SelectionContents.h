#pragma once

#include "adapters/x11/X11Connection.h"

#include "platform/Pasteboard.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// What this program offers by a selection: the items as they were given, and the same as X targets.
/// Immutable once offered; a transfer that is under way keeps the data that it sends.
struct X11SelectionContents {
    /// One form of one item.
    struct Form {
        std::string name;
        std::string encoding;
        xcb_atom_t target = XCB_ATOM_NONE;
        xcb_atom_t type = XCB_ATOM_NONE;
        std::uint8_t format = 8;
        std::shared_ptr<const std::vector<std::byte>> data;
    };
    std::vector<std::vector<Form>> items;

    /// A selection has no items, so other programs see of each target the first one.
    const Form* find(xcb_atom_t target) const;
    const Form* find(const std::string& name) const;
    /// Every target once.
    std::vector<xcb_atom_t> targets() const;

    /// Deep copies of the items.
    std::vector<platform::PasteboardItem> copy() const;
    /// The plain text, whatever form it is in.
    std::optional<std::string> text() const;
    /// The forms of plain text alone.
    X11SelectionContents textOnly() const;

    /// Without atoms: they need no server, so that much text does not hold up the thread that serves.
    static X11SelectionContents fromItems(std::vector<platform::PasteboardItem> items);
    static X11SelectionContents fromText(const std::string& text);

    /// Adds forms that have arrived later. `order` lists the names of all forms as their owner did; a form
    /// that is there already stays.
    void merge(X11SelectionContents later, const std::vector<std::string>& order);

    /// Fills in the atoms; forms whose names cannot be atoms are dropped.
    void resolve(X11Connection& connection, double deadline);
};

/// Names of targets. They come from ICCCM 2.6.2 and from what GTK and Qt offer and ask for.
namespace target {

/// The forms of plain text that are read, best first.
inline constexpr const char* plainText[] = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING",
                                            "text/plain"};

/// Whether the target is a question about the selection or an order to its owner, and not contents.
bool isNoContents(const std::string& name);

/// Whether it is a bitmap that a PNG of the same picture replaces without loss. Vector pictures and pictures
/// with a compression of their own (JPEG, GIF) are not.
bool isBitmapLikePng(const std::string& name);

/// Whether it is a picture that can be scaled without loss.
bool isVectorPicture(const std::string& name);

/// Whether it is any form of a picture.
bool isPicture(const std::string& name);

/// Whether it is one form of plain text.
bool isPlainText(const std::string& name);

/// Plain text in the form `name`, as UTF-8.
std::string decodedText(const std::string& name, std::span<const std::byte> data);

} // namespace target

} // namespace sonvale::adapters::x11
