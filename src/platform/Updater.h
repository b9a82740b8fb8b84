#pragma once

#include "runtime/Task.h"

#include <string>
#include <variant>

namespace sonvale::platform {

/// There is no newer version.
struct UpToDate {
    std::string version; ///< the running version
    bool operator==(const UpToDate&) const = default;
};

/// There is a newer version, with a page on the web.
struct NewerVersion {
    std::string version;       ///< such as "1.2.0"
    std::string page;          ///< http or https
    bool isPageOpened = false; ///< whether the desktop opened the page
    bool operator==(const NewerVersion&) const = default;
};

/// It is not known whether there is a newer version.
struct UpdateCheckFailed {
    std::string description; ///< fit for the user
    bool operator==(const UpdateCheckFailed&) const = default;
};

using UpdateOutcome = std::variant<UpToDate, NewerVersion, UpdateCheckFailed>;

/// Newer versions of this program. Main actor.
class Updater {
public:
    Updater() = default;
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;
    virtual ~Updater() = default;

    /// Asks once whether there is a newer version, and opens its page if there is one. Only this call asks,
    /// and it installs nothing. Ends within half a minute. Throws `CancellationError` if its task is
    /// cancelled, and nothing else.
    virtual runtime::Task<UpdateOutcome> checkForUpdates() = 0;
};

} // namespace sonvale::platform
