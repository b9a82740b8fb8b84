#pragma once

#include "adapters/x11/X11Connection.h"

#include "platform/Pasteboard.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// What this program offers through a selection: the items as they were given, and the same as X targets.
/// Immutable once offered; a transfer in progress keeps the data that it sends.
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

    /// Returns the form with that target. A selection has no items, so other programs see the first form of
    /// each target.
    const Form* find(xcb_atom_t target) const;
    const Form* find(const std::string& name) const;
    /// Returns every target once.
    std::vector<xcb_atom_t> targets() const;

    /// Returns deep copies of the items.
    std::vector<platform::PasteboardItem> copy() const;
    /// Returns the plain text, from any of its forms.
    std::optional<std::string> text() const;
    /// Returns only the forms of plain text.
    X11SelectionContents textOnly() const;

    /// Makes contents without atoms. Atoms need a server, and without them much text does not block the
    /// thread that serves other programs.
    static X11SelectionContents fromItems(std::vector<platform::PasteboardItem> items);
    static X11SelectionContents fromText(const std::string& text);

    /// Adds forms that have arrived later. `order` lists the names of all forms in their owner's order. A
    /// form that is already there stays.
    void merge(X11SelectionContents later, const std::vector<std::string>& order);

    /// Fills in the atoms. Drops forms whose names cannot be atoms.
    void resolve(X11Connection& connection, double deadline);
};

/// Names of targets, from ICCCM 2.6.2 and from what GTK and Qt offer and ask for.
namespace target {

/// The forms of plain text that this program reads, best first.
inline constexpr const char* plainText[] = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING",
                                            "text/plain"};

/// Returns whether the target is a question about the selection or a command to its owner, and not contents.
bool isNotContents(const std::string& name);

/// Returns whether it is a bitmap that a PNG of the same picture replaces without loss. Vector pictures, and
/// pictures with a compression of their own (JPEG, GIF), are not.
bool isBitmapLikePng(const std::string& name);

/// Returns whether it is a picture that can be scaled without loss.
bool isVectorPicture(const std::string& name);

/// Returns whether it is any form of a picture.
bool isPicture(const std::string& name);

/// Returns whether it is a form of plain text.
bool isPlainText(const std::string& name);

/// Returns the plain text of the form `name`, as UTF-8.
std::string decodedText(const std::string& name, std::span<const std::byte> data);

} // namespace target

} // namespace sonvale::adapters::x11
