#include "adapters/freedesktop/BundleIdentifiers.h"

#include <gtest/gtest.h>

namespace sonvale::adapters::freedesktop {

namespace {

struct Row {
    std::string instance;
    std::string className;
    std::string bundleIdentifier;
};

/// Names of desktop files, with the identifiers of their programs.
const std::pair<std::string, std::string> desktopFiles[] = {
    {"org.telegram.desktop", "org.telegram.desktop"},
    {"org.telegram.desktop.desktop", "org.telegram.desktop"},
    {"telegram-desktop_telegram-desktop.desktop", "org.telegram.desktop"},
    {"org.signal.Signal", "org.whispersystems.signal-desktop"},
    {"signal-desktop_signal-desktop", "org.whispersystems.signal-desktop"},
    {"com.github.eneshecan.WhatsAppForLinux", "net.whatsapp.WhatsApp"},
    {"com.slack.Slack.desktop", "com.tinyspeck.slackmacgap"},
    {"slack_slack", "com.tinyspeck.slackmacgap"},
    {"com.microsoft.Teams", "com.microsoft.teams2"},
    {"com.github.IsmaelMartinez.teams_for_linux", "com.microsoft.teams2"},
    {"teams-for-linux_teams-for-linux", "com.microsoft.teams2"},
    {"com.discordapp.Discord", "com.hnc.Discord"},
    {"discord_discord", "com.hnc.Discord"},
    {"code.desktop", "com.microsoft.VSCode"},
    {"code-url-handler", "com.microsoft.VSCode"},
    {"visual-studio-code", "com.microsoft.VSCode"},
    {"com.visualstudio.code", "com.microsoft.VSCode"},
    {"code_code", "com.microsoft.VSCode"},
    {"cursor-url-handler", "com.todesktop.230313mzl4w4u92"},
    {"co.anysphere.cursor", "com.todesktop.230313mzl4w4u92"},
    {"dev.zed.Zed.desktop", "dev.zed.Zed"},
    {"zed-editor", "dev.zed.Zed"},
    {"sublime-text", "com.sublimetext.4"},
    {"com.sublimetext.three", "com.sublimetext.4"},
    {"sublime-text_subl", "com.sublimetext.4"},
    {"kitty.desktop", "net.kovidgoyal.kitty"},
    {"intellij-idea-ultimate", "com.jetbrains.intellij"},
    {"com.jetbrains.IntelliJ-IDEA-Ultimate", "com.jetbrains.intellij"},
    {"intellij-idea-ultimate_intellij-idea-ultimate", "com.jetbrains.intellij"},
    {"google-chrome-stable", "com.google.Chrome"},
    {"com.google.Chrome", "com.google.Chrome"},
    {"org.mozilla.firefox", "org.mozilla.firefox"},
    {"firefox_firefox", "org.mozilla.firefox"},
    {"brave", "com.brave.Browser"},
    {"com.brave.Browser", "com.brave.Browser"},
    {"brave_brave", "com.brave.Browser"},
    {"md.obsidian.Obsidian", "md.obsidian"},
    {"obsidian_obsidian", "md.obsidian"},
    {"notion-desktop.desktop", "com.notion.id"},
};

/// Identifiers of macOS, with the desktops' programs for the same purpose.
const std::pair<std::string, std::vector<std::string>> desktopPrograms[] = {
    {"com.apple.mail",
     {"thunderbird",
      "org.mozilla.thunderbird",
      "thunderbird_thunderbird",
      "net.thunderbird.thunderbird",
      "betterbird",
      "eu.betterbird.betterbird",
      "evolution",
      "org.gnome.evolution",
      "geary",
      "org.gnome.geary",
      "kmail",
      "org.kde.kmail2",
      "kontact",
      "org.kde.kontact",
      "claws-mail",
      "org.claws_mail.claws-mail",
      "sylpheed",
      "mailspring",
      "com.getmailspring.mailspring",
      "mailspring_mailspring"}},
    {"com.apple.Terminal",
     {"xterm",
      "uxterm",
      "debian-xterm",
      "debian-uxterm",
      "gnome-terminal",
      "gnome-terminal-server",
      "org.gnome.terminal",
      "kgx",
      "org.gnome.console",
      "ptyxis",
      "org.gnome.ptyxis",
      "konsole",
      "org.kde.konsole",
      "xfce4-terminal",
      "mate-terminal",
      "lxterminal",
      "qterminal",
      "com.system76.cosmicterm",
      "deepin-terminal",
      "alacritty",
      "org.wezfurlong.wezterm",
      "terminator",
      "tilix",
      "st-256color",
      "urxvt",
      "mlterm",
      "guake",
      "yakuake"}},
    {"com.apple.dt.Xcode", {"gnome-builder", "org.gnome.builder", "kdevelop", "org.kde.kdevelop"}},
    {"com.apple.Safari",
     {"epiphany", "epiphany-browser", "org.gnome.epiphany", "falkon", "org.kde.falkon", "konqueror",
      "org.kde.konqueror"}},
    {"com.apple.Notes",
     {"bijiben", "org.gnome.notes", "gnote", "org.gnome.gnote", "knotes", "org.kde.knotes", "xfce4-notes"}},
};

} // namespace

TEST(BundleIdentifiers, KnowsTheWindowsOfProgramsThatExistOnMacOs) {
    const Row rows[] = {
        {"telegram-desktop", "TelegramDesktop", "org.telegram.desktop"},
        {"Telegram", "Telegram", "org.telegram.desktop"},
        {"signal", "Signal", "org.whispersystems.signal-desktop"},
        {"signal-desktop", "signal-desktop", "org.whispersystems.signal-desktop"},
        {"whatsapp-for-linux", "Whatsapp-for-linux", "net.whatsapp.WhatsApp"},
        {"whatsapp-desktop", "Whatsapp-desktop", "net.whatsapp.WhatsApp"},
        {"whatsapp", "WhatsApp", "net.whatsapp.WhatsApp"},
        {"slack", "Slack", "com.tinyspeck.slackmacgap"},
        {"microsoft teams - preview", "Microsoft Teams - Preview", "com.microsoft.teams2"},
        {"microsoft teams", "Microsoft Teams", "com.microsoft.teams2"},
        {"teams-for-linux", "teams-for-linux", "com.microsoft.teams2"},
        {"teams", "Teams", "com.microsoft.teams2"},
        {"discord", "discord", "com.hnc.Discord"},
        {"linear", "Linear", "com.linear"},
        {"code", "Code", "com.microsoft.VSCode"},
        {"cursor", "Cursor", "com.todesktop.230313mzl4w4u92"},
        {"dev.zed.Zed", "dev.zed.Zed", "dev.zed.Zed"},
        {"zed", "zed", "dev.zed.Zed"},
        {"sublime_text", "Sublime_text", "com.sublimetext.4"},
        {"kitty", "kitty", "net.kovidgoyal.kitty"},
        {"sun-awt-X11-XFramePeer", "jetbrains-idea", "com.jetbrains.intellij"},
        {"google-chrome", "Google-chrome", "com.google.Chrome"},
        {"Navigator", "firefox", "org.mozilla.firefox"},
        {"Navigator", "firefox-esr", "org.mozilla.firefox"},
        {"brave-browser", "Brave-browser", "com.brave.Browser"},
        {"obsidian", "obsidian", "md.obsidian"},
        {"notion-app", "notion-app", "com.notion.id"},
        {"notion", "Notion", "com.notion.id"},
        {"notion-snap-reborn", "notion-snap-reborn", "com.notion.id"},
        // Known only by its instance, like programs that a launcher has named.
        {"kitty", "my-notes", "net.kovidgoyal.kitty"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(bundleIdentifier(row.instance, row.className), row.bundleIdentifier) << row.className;
}

TEST(BundleIdentifiers, KnowsTheDesktopFilesOfPackages) {
    for (const auto& [name, identifier] : desktopFiles)
        EXPECT_EQ(knownBundleIdentifier(name), identifier) << name;
}

TEST(BundleIdentifiers, MapsTheDesktopsOwnProgramsToProgramsOfMacOs) {
    for (const auto& [identifier, names] : desktopPrograms) {
        for (const auto& name : names)
            EXPECT_EQ(knownBundleIdentifier(name), identifier) << name;
    }
    // As their windows really report it.
    EXPECT_EQ(bundleIdentifier("Mail", "thunderbird"), "com.apple.mail");
    EXPECT_EQ(bundleIdentifier("evolution", "Evolution"), "com.apple.mail");
    EXPECT_EQ(bundleIdentifier("xterm", "XTerm"), "com.apple.Terminal");
    EXPECT_EQ(bundleIdentifier("gnome-terminal-server", "Gnome-terminal"), "com.apple.Terminal");
    EXPECT_EQ(bundleIdentifier("xfce4-terminal", "Xfce4-terminal"), "com.apple.Terminal");
}

TEST(BundleIdentifiers, ReturnsOtherProgramsUnchanged) {
    const Row rows[] = {
        {"mousepad", "Mousepad", "Mousepad"},
        {"nemo", "Nemo", "Nemo"},
        // Other editions have other identifiers.
        {"sun-awt-X11-XFramePeer", "jetbrains-idea-ce", "jetbrains-idea-ce"},
        {"code - insiders", "Code - Insiders", "Code - Insiders"},
        {"vscodium", "VSCodium", "VSCodium"},
        {"chromium", "Chromium", "Chromium"},
        {"discordcanary", "discordcanary", "discordcanary"},
        {"soffice", "", "soffice"},
        {"", "Only-class", "Only-class"},
        {"x", "\xc3\x84pp", "\xc3\x84pp"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(bundleIdentifier(row.instance, row.className), row.bundleIdentifier) << row.className;
}

TEST(BundleIdentifiers, ReturnsNoneForAWindowWithoutAClass) {
    EXPECT_EQ(bundleIdentifier("", ""), std::nullopt);
    EXPECT_EQ(knownBundleIdentifier(""), std::nullopt);
    EXPECT_EQ(knownBundleIdentifier(".desktop"), std::nullopt);
    EXPECT_EQ(knownBundleIdentifier("code.desktop.desktop"), std::nullopt);
}

} // namespace sonvale::adapters::freedesktop
