#pragma once

#include "adapters/freedesktop/SettingsPrograms.h"

#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// Opens addresses with the programs of the user's desktop: web pages and mails by xdg-open, pages of the
/// settings by the desktop's own settings. Any thread.
class UrlOpener {
public:
    /// What decides about the programs.
    struct Environment {
        std::string desktop; ///< as XDG_CURRENT_DESKTOP
        std::string path;    ///< as PATH
        static Environment ofThisProcess();
    };

    explicit UrlOpener(Environment environment);

    /// As `Workspace::openURL`. Never by a shell. Addresses of other kinds than the named ones, a file's for
    /// example, have no program: they may come from the network.
    bool open(const std::string& address) const;

private:
    bool openSettings(const std::string& address) const;
    bool start(const std::vector<ProgramCall>& calls, std::string_view what) const;

    const Environment environment_;
};

/// The scheme of an address, in small letters; empty when the text is no address (RFC 3986).
std::string schemeOf(std::string_view address);

} // namespace sonvale::adapters::freedesktop
