#pragma once

#include "platform/LoginItem.h"

#include <filesystem>
#include <string>

namespace sonvale::adapters::freedesktop {

/// The start at login, as freedesktop.org defines it (autostart, version 0.5): an entry in the user's folder,
/// `com.sonvale.app.desktop` in `$XDG_CONFIG_HOME/autostart`.
///
/// An entry there counts as off if the desktop would ignore it: Hidden, OnlyShowIn and NotShowIn, TryExec
/// without its program; also with X-GNOME-Autostart-enabled=false, with which the settings of GNOME, MATE and
/// Cinnamon turn an entry off. System-wide folders are not read: the user's entry takes precedence.
class XdgAutostart final : public platform::LoginItem {
public:
    struct Environment {
        std::filesystem::path configuration; ///< as XDG_CONFIG_HOME
        std::filesystem::path program;       ///< the absolute path of the program to start
        std::string desktop;                 ///< as XDG_CURRENT_DESKTOP
        std::string path;                    ///< as PATH
        /// Returns the environment of the running program. Must be called early: after its file was replaced,
        /// the system reports another path.
        static Environment ofThisProcess(std::filesystem::path configuration);
    };

    explicit XdgAutostart(Environment environment);

    void registerItem() override;
    void unregisterItem() override;
    bool isEnabled() override;

private:
    std::string entryText() const;

    const Environment environment_;
    const std::filesystem::path file_;
};

} // namespace sonvale::adapters::freedesktop
