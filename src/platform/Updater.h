#pragma once

#include "runtime/Task.h"

#include <string>
#include <variant>

namespace sonvale::platform {

/// No newer version is offered.
struct UpToDate {
    std::string version; ///< the one that runs
    bool operator==(const UpToDate&) const = default;
};

/// A newer version is offered on a page of the web.
struct NewerVersion {
    std::string version;       ///< such as "1.2.0"
    std::string page;          ///< http or https
    bool isPageOpened = false; ///< whether the desktop had a program for the page
    bool operator==(const NewerVersion&) const = default;
};

/// Nothing is known about newer versions.
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

    /// Asks once whether there is a newer version, and shows its page when there is one. Nothing is asked but
    /// by this call, and nothing is installed. Ends within half a minute. Throws only `CancellationError`,
    /// when its task is cancelled.
    virtual runtime::Task<UpdateOutcome> checkForUpdates() = 0;
};

} // namespace sonvale::platform
