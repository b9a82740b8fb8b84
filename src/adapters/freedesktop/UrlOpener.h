#pragma once

#include "adapters/freedesktop/SettingsPrograms.h"

#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// Opens addresses with the programs of the user's desktop: web pages and mails through xdg-open, settings
/// pages in the desktop's own settings. Any thread.
class UrlOpener {
public:
    /// The variables that select the programs.
    struct Environment {
        std::string desktop; ///< as XDG_CURRENT_DESKTOP
        std::string path;    ///< as PATH
        static Environment ofThisProcess();
    };

    explicit UrlOpener(Environment environment);

    /// As `Workspace::openURL`. Never uses a shell. Addresses of other kinds, such as file addresses, have no
    /// program, because they may come from the network.
    bool open(const std::string& address) const;

private:
    bool openSettings(const std::string& address) const;
    bool start(const std::vector<ProgramCall>& calls, std::string_view what) const;

    const Environment environment_;
};

/// Returns the scheme of an address in lower case, or an empty text if it is not an address (RFC 3986).
std::string schemeOf(std::string_view address);

} // namespace sonvale::adapters::freedesktop
