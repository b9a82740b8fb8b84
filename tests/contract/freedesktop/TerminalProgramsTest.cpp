#include "adapters/freedesktop/TerminalPrograms.h"

#include "adapters/freedesktop/BundleIdentifiers.h"

#include "textprocessing/AppCategory.h"

#include <gtest/gtest.h>

namespace sonvale::adapters::freedesktop {

TEST(TerminalPrograms, HaveTheirOwnKeys) {
    const std::pair<std::string_view, KeyStyle> rows[] = {
        {"Xfce4-terminal", KeyStyle::terminal},
        {"konsole", KeyStyle::terminal},
        {"com.system76.CosmicTerm", KeyStyle::terminal},
        {"Alacritty", KeyStyle::terminal},
        {"kitty", KeyStyle::terminal},
        {"st-256color", KeyStyle::terminal},
        {"XTerm", KeyStyle::xterm},
        {"URxvt", KeyStyle::xterm},
        {"mlterm", KeyStyle::xterm},
        {"Emacs", KeyStyle::emacs},
        {"Gvim", KeyStyle::gvim},
        {"Mousepad", KeyStyle::ordinary},
        {"stellarium", KeyStyle::ordinary},
        {"", KeyStyle::ordinary},
    };
    for (const auto& [name, style] : rows)
        EXPECT_EQ(keyStyleOf(name), style) << name;
}

TEST(TerminalPrograms, AreAssumedForNamesWithTerm) {
    for (const auto* name : {"terminator-like", "Blackterm", "org.example.Terminal", "NewTerm2"})
        EXPECT_EQ(keyStyleOf(name), KeyStyle::terminal) << name;
}

TEST(TerminalPrograms, AreTerminalsForTheTextStyle) {
    const char* const names[] = {"Xfce4-terminal",
                                 "com.system76.CosmicTerm",
                                 "Alacritty",
                                 "org.wezfurlong.wezterm",
                                 "Terminator",
                                 "Tilix",
                                 "Yakuake",
                                 "cool-retro-term",
                                 "st-256color",
                                 "kitty",
                                 "XTerm",
                                 "URxvt",
                                 "Mlterm",
                                 "Guake",
                                 "Io.elementary.terminal"};
    for (const auto* name : names) {
        EXPECT_NE(keyStyleOf(name), KeyStyle::ordinary) << name;
        EXPECT_EQ(textprocessing::forBundleID(bundleIdentifier("", name)), textprocessing::AppCategory::code)
            << name;
    }
}

} // namespace sonvale::adapters::freedesktop
