#include "platform/linux/TerminalPrograms.h"

#include <algorithm>
#include <cctype>

namespace sonvale::platform::linux {

namespace {

constexpr std::string_view terminals[] = {
    // VTE
    "Gnome-terminal", "gnome-terminal-server", "Xfce4-terminal", "Mate-terminal", "Tilix", "Terminator",
    "Lxterminal", "Guake", "Tilda", "Sakura", "Roxterm", "Io.elementary.terminal", "org.gnome.Console", "kgx",
    "org.gnome.Ptyxis", "com.raggesilver.BlackBox", "Termite", "Deepin-terminal",
    // Qt
    "Konsole", "org.kde.konsole", "Yakuake", "Qterminal", "org.lxqt.qterminal", "cool-retro-term",
    // With a drawing of their own
    "kitty", "Alacritty", "org.wezfurlong.wezterm", "com.mitchellh.ghostty", "contour", "Terminology",
    "Hyper", "tabby", "dev.warp.Warp", "st-256color", "st"};

constexpr std::string_view xterms[] = {"XTerm", "UXTerm", "KOI8RXTerm", "URxvt", "Rxvt",
                                       "Eterm", "Aterm",  "Mrxvt",      "mlterm"};

/// Control-C is the beginning of many commands in the one and leaves the present mode in the other.
constexpr std::string_view editorsOfTheirOwn[] = {"Emacs", "Gvim"};

bool isSame(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

template <class List>
bool contains(const List& list, std::string_view name) {
    return std::any_of(std::begin(list), std::end(list),
                       [&](std::string_view each) { return isSame(each, name); });
}

} // namespace

PasteCustom pasteCustomOf(std::string_view windowClass) {
    if (contains(terminals, windowClass))
        return PasteCustom::controlShiftV;
    if (contains(xterms, windowClass))
        return PasteCustom::shiftInsertOfPrimary;
    return PasteCustom::controlV;
}

CopyCustom copyCustomOf(std::string_view windowClass) {
    switch (pasteCustomOf(windowClass)) {
    case PasteCustom::controlShiftV:
        return CopyCustom::controlShiftC;
    case PasteCustom::shiftInsertOfPrimary:
        return CopyCustom::none;
    case PasteCustom::controlV:
        break;
    }
    return contains(editorsOfTheirOwn, windowClass) ? CopyCustom::none : CopyCustom::controlC;
}

} // namespace sonvale::platform::linux
