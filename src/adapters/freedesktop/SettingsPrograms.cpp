#include "adapters/freedesktop/SettingsPrograms.h"

#include <algorithm>

namespace sonvale::adapters::freedesktop {

namespace {

struct Entry {
    std::string_view desktop; ///< in lower case
    SettingsPage page;
    std::string_view program;
    std::string_view argument; ///< empty if there is none
};

// Input devices are the fourth tab of the PulseAudio mixer, which Xfce and LXQt use as their own.
constexpr std::string_view inputDevices = "--tab=4";

// GNOME's settings refuse to run on other desktops, so each desktop has only its own. If a version lacks the
// named page, the first page opens.
constexpr Entry table[] = {
    {"gnome", SettingsPage::sound, "gnome-control-center", "sound"},
    {"gnome", SettingsPage::privacy, "gnome-control-center", "privacy"},
    {"budgie", SettingsPage::sound, "budgie-control-center", "sound"},
    {"budgie", SettingsPage::privacy, "budgie-control-center", "privacy"},
    {"unity", SettingsPage::sound, "unity-control-center", "sound"},
    {"unity", SettingsPage::privacy, "unity-control-center", "privacy"},
    {"x-cinnamon", SettingsPage::sound, "cinnamon-settings", "sound"},
    {"x-cinnamon", SettingsPage::privacy, "cinnamon-settings", "privacy"},
    {"mate", SettingsPage::sound, "mate-volume-control", ""},
    {"mate", SettingsPage::sound, "mate-control-center", ""},
    {"mate", SettingsPage::privacy, "mate-control-center", ""},
    {"kde", SettingsPage::sound, "systemsettings", "kcm_pulseaudio"},
    {"kde", SettingsPage::sound, "systemsettings5", "kcm_pulseaudio"},
    {"kde", SettingsPage::sound, "kcmshell6", "kcm_pulseaudio"},
    {"kde", SettingsPage::sound, "kcmshell5", "kcm_pulseaudio"},
    {"kde", SettingsPage::privacy, "systemsettings", ""},
    {"kde", SettingsPage::privacy, "systemsettings5", ""},
    {"xfce", SettingsPage::sound, "pavucontrol", inputDevices},
    {"xfce", SettingsPage::sound, "xfce4-settings-manager", ""},
    {"xfce", SettingsPage::privacy, "xfce4-settings-manager", ""},
    {"lxqt", SettingsPage::sound, "pavucontrol-qt", inputDevices},
    {"lxqt", SettingsPage::sound, "lxqt-config", ""},
    {"lxqt", SettingsPage::privacy, "lxqt-config", ""},
};

// For every desktop, and for a session without one.
constexpr Entry everywhere[] = {
    {"", SettingsPage::sound, "pavucontrol", inputDevices},
    {"", SettingsPage::sound, "pavucontrol-qt", inputDevices},
};

bool isSameDesktop(std::string_view name, std::string_view small) {
    return std::ranges::equal(name, small, [](char a, char b) {
        return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
    });
}

} // namespace

std::vector<ProgramCall> settingsPrograms(SettingsPage page, std::string_view desktop) {
    std::vector<ProgramCall> calls;
    const auto add = [&](const Entry& entry) {
        ProgramCall call{std::string(entry.program), {}};
        if (!entry.argument.empty())
            call.arguments.emplace_back(entry.argument);
        if (std::ranges::find(calls, call) == calls.end())
            calls.push_back(std::move(call));
    };
    while (!desktop.empty()) {
        const auto name = desktop.substr(0, desktop.find(':'));
        desktop.remove_prefix(std::min(name.size() + 1, desktop.size()));
        for (const auto& entry : table) {
            if (entry.page == page && isSameDesktop(name, entry.desktop))
                add(entry);
        }
    }
    for (const auto& entry : everywhere) {
        if (entry.page == page)
            add(entry);
    }
    return calls;
}

} // namespace sonvale::adapters::freedesktop
