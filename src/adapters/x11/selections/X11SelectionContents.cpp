#include "adapters/x11/selections/X11SelectionContents.h"

#include "adapters/x11/selections/X11Text.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace sonvale::adapters::x11 {

namespace {

constexpr std::string_view notContents[] = {"TARGETS",      "MULTIPLE", "TIMESTAMP",
                                            "SAVE_TARGETS", "DELETE",   "GTK_TEXT_BUFFER_CONTENTS"};

/// PIXMAP and BITMAP are numbers of server objects that are destroyed with their owner. GTK and Qt make the
/// others from any bitmap on request.
constexpr std::string_view bitmaps[] = {"PIXMAP",
                                        "BITMAP",
                                        "application/x-qt-image",
                                        "image/bmp",
                                        "image/x-bmp",
                                        "image/x-ms-bmp",
                                        "image/x-MS-bmp",
                                        "image/x-win-bitmap",
                                        "image/ico",
                                        "image/icon",
                                        "image/x-ico",
                                        "image/x-icon",
                                        "image/vnd.microsoft.icon",
                                        "image/x-win-cursor",
                                        "image/icns",
                                        "image/x-icns",
                                        "image/tiff",
                                        "image/x-tiff",
                                        "image/x-tga",
                                        "image/x-xbitmap",
                                        "image/x-xpixmap",
                                        "image/bw",
                                        "image/cur",
                                        "image/pbm",
                                        "image/pgm",
                                        "image/ppm",
                                        "image/rgb",
                                        "image/rgba",
                                        "image/sgi",
                                        "image/tga",
                                        "image/tif",
                                        "image/xbm",
                                        "image/xpm"};

/// Parts of the names of vector formats, such as "image/x-inkscape-svg".
constexpr const char* vectorFormats[] = {"svg", "emf", "wmf", "eps"};

std::uint8_t formatFor(int unitBits) {
    return unitBits == 16 || unitBits == 32 ? static_cast<std::uint8_t>(unitBits) : std::uint8_t{8};
}

std::shared_ptr<const std::vector<std::byte>> sharedBytes(std::string_view text) {
    const auto* data = reinterpret_cast<const std::byte*>(text.data());
    return std::make_shared<const std::vector<std::byte>>(data, data + text.size());
}

} // namespace

const X11SelectionContents::Form* X11SelectionContents::find(xcb_atom_t target) const {
    for (const auto& item : items) {
        const auto form = std::ranges::find(item, target, &Form::target);
        if (form != item.end())
            return &*form;
    }
    return nullptr;
}

const X11SelectionContents::Form* X11SelectionContents::find(const std::string& name) const {
    for (const auto& item : items) {
        const auto form = std::ranges::find(item, name, &Form::name);
        if (form != item.end())
            return &*form;
    }
    return nullptr;
}

std::vector<xcb_atom_t> X11SelectionContents::targets() const {
    std::vector<xcb_atom_t> targets;
    for (const auto& item : items) {
        for (const auto& form : item) {
            if (std::ranges::find(targets, form.target) == targets.end())
                targets.push_back(form.target);
        }
    }
    return targets;
}

std::vector<platform::PasteboardItem> X11SelectionContents::copy() const {
    std::vector<platform::PasteboardItem> copies;
    for (const auto& item : items) {
        auto& representations = copies.emplace_back().representations;
        for (const auto& form : item)
            representations.push_back({form.name, *form.data, form.format, form.encoding});
    }
    return copies;
}

std::optional<std::string> X11SelectionContents::text() const {
    for (const std::string name : target::plainText) {
        if (const auto* form = find(name))
            return target::decodedText(name, *form->data);
    }
    return std::nullopt;
}

X11SelectionContents X11SelectionContents::textOnly() const {
    X11SelectionContents texts;
    auto& forms = texts.items.emplace_back();
    for (const auto& item : items)
        std::ranges::copy_if(item, std::back_inserter(forms), target::isPlainText, &Form::name);
    return texts;
}

X11SelectionContents X11SelectionContents::fromItems(std::vector<platform::PasteboardItem> items) {
    X11SelectionContents contents;
    for (auto& item : items) {
        auto& forms = contents.items.emplace_back();
        for (auto& representation : item.representations) {
            Form form;
            form.format = formatFor(representation.unitBits);
            auto data = std::move(representation.data);
            data.resize(data.size() - data.size() % (form.format / 8u));
            form.data = std::make_shared<const std::vector<std::byte>>(std::move(data));
            form.name = std::move(representation.type);
            form.encoding = std::move(representation.encoding);
            forms.push_back(std::move(form));
        }
    }
    return contents;
}

X11SelectionContents X11SelectionContents::fromText(const std::string& text) {
    const auto utf8 = base::repairedUtf8(text);
    const auto data = sharedBytes(utf8);
    const auto latin1 = latin1FromUtf8(utf8);

    X11SelectionContents contents;
    auto& forms = contents.items.emplace_back();
    const auto offer = [&forms](const char* name, const char* encoding, auto bytes) {
        Form form;
        form.name = name;
        form.encoding = encoding;
        form.data = std::move(bytes);
        forms.push_back(std::move(form));
    };
    offer("UTF8_STRING", "", data);
    offer("text/plain;charset=utf-8", "", data);
    if (latin1)
        offer("STRING", "", sharedBytes(*latin1));
    // ICCCM 2.6.2: the owner chooses the encoding of TEXT and names it in the property's type.
    offer("TEXT", "UTF8_STRING", data);
    offer("text/plain", "", data);
    return contents;
}

void X11SelectionContents::merge(X11SelectionContents later, const std::vector<std::string>& order) {
    if (items.empty())
        items.emplace_back();
    auto& forms = items.front();
    const auto placeOf = [&order](const Form& form) { return std::ranges::find(order, form.name); };
    for (auto& item : later.items) {
        for (auto& form : item) {
            if (find(form.name))
                continue;
            const auto next =
                std::ranges::find_if(forms, [&](const Form& each) { return placeOf(each) > placeOf(form); });
            forms.insert(next, std::move(form));
        }
    }
}

void X11SelectionContents::resolve(X11Connection& connection, double deadline) {
    std::vector<std::string> names;
    for (const auto& item : items) {
        for (const auto& form : item) {
            names.push_back(form.name);
            names.push_back(form.encoding.empty() ? form.name : form.encoding);
        }
    }
    const auto atoms = connection.atoms(names, deadline);
    auto atom = atoms.begin();
    for (auto& item : items) {
        for (auto& form : item) {
            form.target = *atom++;
            form.type = *atom++;
        }
        std::erase_if(item, [](const auto& form) {
            return form.target == XCB_ATOM_NONE || form.type == XCB_ATOM_NONE;
        });
    }
    std::erase_if(items, [](const auto& item) { return item.empty(); });
}

namespace target {

bool isNotContents(const std::string& name) {
    return std::ranges::find(notContents, name) != std::end(notContents) || name.starts_with("INSERT_");
}

bool isBitmapLikePng(const std::string& name) {
    return std::ranges::find(bitmaps, name) != std::end(bitmaps) || name.starts_with("image/x-portable-");
}

bool isVectorPicture(const std::string& name) {
    return isPicture(name) && std::ranges::any_of(vectorFormats, [&name](const char* format) {
               return name.find(format) != std::string::npos;
           });
}

bool isPicture(const std::string& name) {
    return name.starts_with("image/") || isBitmapLikePng(name);
}

bool isPlainText(const std::string& name) {
    return name == "TEXT" || std::ranges::find(plainText, name) != std::end(plainText);
}

std::string decodedText(const std::string& name, std::span<const std::byte> data) {
    const auto text = asText(data);
    return name == "STRING" ? utf8FromLatin1(text) : base::repairedUtf8(text);
}

} // namespace target

} // namespace sonvale::adapters::x11
