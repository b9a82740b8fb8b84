#include "adapters/freedesktop/TerminalPrograms.h"

#include <algorithm>
#include <string>

namespace sonvale::adapters::freedesktop {

namespace {

struct Terminal {
    std::string_view name; ///< in lower case: the class of its windows or the name of its desktop file
    KeyStyle style = KeyStyle::terminal;
    std::string_view bundleIdentifier = "com.apple.Terminal";
};

constexpr Terminal terminals[] = {
    // VTE
    {"gnome-terminal"},
    {"gnome-terminal-server"},
    {"org.gnome.terminal"},
    {"xfce4-terminal"},
    {"mate-terminal"},
    {"lxterminal"},
    {"tilix"},
    {"com.gexperts.tilix"},
    {"terminator"},
    {"guake"},
    {"tilda"},
    {"sakura"},
    {"roxterm"},
    {"termite"},
    {"io.elementary.terminal"},
    {"kgx"},
    {"org.gnome.console"},
    {"ptyxis"},
    {"org.gnome.ptyxis"},
    {"com.raggesilver.blackbox"},
    {"deepin-terminal"},
    // Qt
    {"konsole"},
    {"org.kde.konsole"},
    {"yakuake"},
    {"org.kde.yakuake"},
    {"qterminal"},
    {"org.lxqt.qterminal"},
    {"cool-retro-term"},
    // With their own text rendering
    {"kitty", KeyStyle::terminal, "net.kovidgoyal.kitty"},
    {"alacritty"},
    {"wezterm"},
    {"org.wezfurlong.wezterm"},
    {"ghostty"},
    {"com.mitchellh.ghostty"},
    {"com.system76.cosmicterm"},
    {"contour"},
    {"terminology"},
    {"hyper"},
    {"tabby"},
    {"dev.warp.warp"},
    {"st"},
    {"st-256color"},
    // The xterm family. Debian's desktop files have different names.
    {"xterm", KeyStyle::xterm},
    {"uxterm", KeyStyle::xterm},
    {"debian-xterm", KeyStyle::xterm},
    {"debian-uxterm", KeyStyle::xterm},
    {"koi8rxterm", KeyStyle::xterm},
    {"urxvt", KeyStyle::xterm},
    {"rxvt", KeyStyle::xterm},
    {"eterm", KeyStyle::xterm},
    {"aterm", KeyStyle::xterm},
    {"mrxvt", KeyStyle::xterm},
    {"mlterm", KeyStyle::xterm},
};

std::string lowered(std::string_view name) {
    std::string result(name);
    std::ranges::transform(result, result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

} // namespace

KeyStyle keyStyleOf(std::string_view windowClass) {
    const auto name = lowered(windowClass);
    if (const auto* terminal = std::ranges::find(terminals, name, &Terminal::name);
        terminal != std::end(terminals))
        return terminal->style;
    if (name == "emacs")
        return KeyStyle::emacs;
    if (name == "gvim")
        return KeyStyle::gvim;
    return name.find("term") == std::string::npos ? KeyStyle::ordinary : KeyStyle::terminal;
}

std::optional<std::string_view> terminalIdentifier(std::string_view name) {
    const auto* terminal = std::ranges::find(terminals, name, &Terminal::name);
    return terminal == std::end(terminals) ? std::nullopt : std::optional(terminal->bundleIdentifier);
}

} // namespace sonvale::adapters::freedesktop
