#pragma once

#include "platform/LoginItem.h"

#include <filesystem>
#include <string>

namespace sonvale::adapters::freedesktop {

/// The start at login as freedesktop.org defines it (autostart, version 0.5): an entry of the user's own,
/// `com.sonvale.app.desktop` in `$XDG_CONFIG_HOME/autostart`.
///
/// An entry there counts as off when the desktop would pass it over: Hidden, OnlyShowIn and NotShowIn,
/// TryExec without its program; and with X-GNOME-Autostart-enabled=false, by which GNOME's, MATE's and
/// Cinnamon's settings turn an entry off. What system-wide folders have is not looked at: the user's entry
/// stands before it.
class XdgAutostart final : public platform::LoginItem {
public:
    struct Environment {
        std::filesystem::path configuration; ///< as XDG_CONFIG_HOME
        std::filesystem::path program;       ///< absolute, of the program to be started
        std::string desktop;                 ///< as XDG_CURRENT_DESKTOP
        std::string path;                    ///< as PATH
        /// The program that runs. Early: once its file has been replaced the system tells another path.
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
