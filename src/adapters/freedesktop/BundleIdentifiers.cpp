#include "adapters/freedesktop/BundleIdentifiers.h"

#include "adapters/freedesktop/TerminalPrograms.h"

#include <algorithm>
#include <array>

namespace sonvale::adapters::freedesktop {

namespace {

struct KnownProgram {
    std::string_view name; ///< in lower case
    std::string_view bundleIdentifier;
};

// Names differ between the packages of a distribution, of the maker, of Flatpak (reverse domain) and of Snap
// (name_name).
constexpr KnownProgram knownPrograms[] = {
    {"telegram-desktop", "org.telegram.desktop"},
    {"telegramdesktop", "org.telegram.desktop"},
    {"telegram", "org.telegram.desktop"},
    {"org.telegram.desktop", "org.telegram.desktop"},
    {"telegram-desktop_telegram-desktop", "org.telegram.desktop"},
    {"signal", "org.whispersystems.signal-desktop"},
    {"signal-desktop", "org.whispersystems.signal-desktop"},
    {"org.signal.signal", "org.whispersystems.signal-desktop"},
    {"signal-desktop_signal-desktop", "org.whispersystems.signal-desktop"},
    {"whatsapp", "net.whatsapp.WhatsApp"},
    {"whatsapp-for-linux", "net.whatsapp.WhatsApp"},
    {"whatsapp-desktop", "net.whatsapp.WhatsApp"},
    {"com.github.eneshecan.whatsappforlinux", "net.whatsapp.WhatsApp"},

    {"slack", "com.tinyspeck.slackmacgap"},
    {"com.slack.slack", "com.tinyspeck.slackmacgap"},
    {"slack_slack", "com.tinyspeck.slackmacgap"},
    {"teams", "com.microsoft.teams2"},
    {"microsoft teams", "com.microsoft.teams2"},
    {"microsoft teams - preview", "com.microsoft.teams2"},
    {"teams-for-linux", "com.microsoft.teams2"},
    {"com.microsoft.teams", "com.microsoft.teams2"},
    {"com.github.ismaelmartinez.teams_for_linux", "com.microsoft.teams2"},
    {"teams-for-linux_teams-for-linux", "com.microsoft.teams2"},
    {"discord", "com.hnc.Discord"},
    {"com.discordapp.discord", "com.hnc.Discord"},
    {"discord_discord", "com.hnc.Discord"},
    {"linear", "com.linear"},

    {"code", "com.microsoft.VSCode"},
    {"code-url-handler", "com.microsoft.VSCode"},
    {"visual-studio-code", "com.microsoft.VSCode"},
    {"com.visualstudio.code", "com.microsoft.VSCode"},
    {"code_code", "com.microsoft.VSCode"},
    {"cursor", "com.todesktop.230313mzl4w4u92"},
    {"cursor-url-handler", "com.todesktop.230313mzl4w4u92"},
    {"co.anysphere.cursor", "com.todesktop.230313mzl4w4u92"},
    {"zed", "dev.zed.Zed"},
    {"zed-editor", "dev.zed.Zed"},
    {"dev.zed.zed", "dev.zed.Zed"},
    {"sublime_text", "com.sublimetext.4"},
    {"sublime-text", "com.sublimetext.4"},
    {"com.sublimetext.three", "com.sublimetext.4"},
    {"sublime-text_subl", "com.sublimetext.4"},
    {"jetbrains-idea", "com.jetbrains.intellij"},
    {"intellij-idea-ultimate", "com.jetbrains.intellij"},
    {"com.jetbrains.intellij-idea-ultimate", "com.jetbrains.intellij"},
    {"intellij-idea-ultimate_intellij-idea-ultimate", "com.jetbrains.intellij"},

    {"google-chrome", "com.google.Chrome"},
    {"google-chrome-stable", "com.google.Chrome"},
    {"com.google.chrome", "com.google.Chrome"},
    {"firefox", "org.mozilla.firefox"},
    {"firefox-esr", "org.mozilla.firefox"},
    {"org.mozilla.firefox", "org.mozilla.firefox"},
    {"firefox_firefox", "org.mozilla.firefox"},
    {"brave-browser", "com.brave.Browser"},
    {"brave", "com.brave.Browser"},
    {"com.brave.browser", "com.brave.Browser"},
    {"brave_brave", "com.brave.Browser"},

    {"obsidian", "md.obsidian"},
    {"md.obsidian.obsidian", "md.obsidian"},
    {"obsidian_obsidian", "md.obsidian"},
    {"notion", "com.notion.id"},
    {"notion-app", "com.notion.id"},
    {"notion-desktop", "com.notion.id"},
    {"notion-snap-reborn", "com.notion.id"},

    // The desktops' own programs for mail, development, the web and notes have the same purpose as the
    // programs of macOS, and the user's style depends on the purpose. Terminals have a list of their own.
    {"thunderbird", "com.apple.mail"},
    {"org.mozilla.thunderbird", "com.apple.mail"},
    {"thunderbird_thunderbird", "com.apple.mail"},
    {"net.thunderbird.thunderbird", "com.apple.mail"},
    {"betterbird", "com.apple.mail"},
    {"eu.betterbird.betterbird", "com.apple.mail"},
    {"evolution", "com.apple.mail"},
    {"org.gnome.evolution", "com.apple.mail"},
    {"geary", "com.apple.mail"},
    {"org.gnome.geary", "com.apple.mail"},
    {"kmail", "com.apple.mail"},
    {"org.kde.kmail2", "com.apple.mail"},
    {"kontact", "com.apple.mail"},
    {"org.kde.kontact", "com.apple.mail"},
    {"claws-mail", "com.apple.mail"},
    {"org.claws_mail.claws-mail", "com.apple.mail"},
    {"sylpheed", "com.apple.mail"},
    {"mailspring", "com.apple.mail"},
    {"com.getmailspring.mailspring", "com.apple.mail"},
    {"mailspring_mailspring", "com.apple.mail"},

    {"gnome-builder", "com.apple.dt.Xcode"},
    {"org.gnome.builder", "com.apple.dt.Xcode"},
    {"kdevelop", "com.apple.dt.Xcode"},
    {"org.kde.kdevelop", "com.apple.dt.Xcode"},

    {"epiphany", "com.apple.Safari"},
    {"epiphany-browser", "com.apple.Safari"},
    {"org.gnome.epiphany", "com.apple.Safari"},
    {"falkon", "com.apple.Safari"},
    {"org.kde.falkon", "com.apple.Safari"},
    {"konqueror", "com.apple.Safari"},
    {"org.kde.konqueror", "com.apple.Safari"},

    {"bijiben", "com.apple.Notes"},
    {"org.gnome.notes", "com.apple.Notes"},
    {"gnote", "com.apple.Notes"},
    {"org.gnome.gnote", "com.apple.Notes"},
    {"knotes", "com.apple.Notes"},
    {"org.kde.knotes", "com.apple.Notes"},
    {"xfce4-notes", "com.apple.Notes"},
};

} // namespace

std::optional<std::string> knownBundleIdentifier(std::string_view name) {
    constexpr std::string_view suffix = ".desktop";
    std::string lowered(name);
    // The names in the table are ASCII, so only ASCII text can equal them.
    std::ranges::transform(lowered, lowered.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    const auto find = [](std::string_view wanted) -> std::optional<std::string> {
        const auto entry = std::ranges::find(knownPrograms, wanted, &KnownProgram::name);
        if (entry != std::end(knownPrograms))
            return std::string(entry->bundleIdentifier);
        if (const auto terminal = terminalIdentifier(wanted))
            return std::string(*terminal);
        return std::nullopt;
    };
    // The unchanged name first: the name of one program ends in ".desktop".
    if (auto known = find(lowered))
        return known;
    if (lowered.ends_with(suffix))
        return find(std::string_view(lowered).substr(0, lowered.size() - suffix.size()));
    return std::nullopt;
}

std::optional<std::string> bundleIdentifier(std::string_view instance, std::string_view className) {
    if (auto known = knownBundleIdentifier(className))
        return known;
    if (auto known = knownBundleIdentifier(instance))
        return known;
    const auto own = className.empty() ? instance : className;
    if (own.empty())
        return std::nullopt;
    return std::string(own);
}

} // namespace sonvale::adapters::freedesktop
