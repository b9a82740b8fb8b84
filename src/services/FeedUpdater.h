#pragma once

#include "platform/Updater.h"
#include "platform/UrlSession.h"
#include "platform/Workspace.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::services {

/// Reads the newest version from a feed: a JSON object at a fixed address,
///
///     {"version": "1.2.0", "page": "https://example.org/download"}
///
/// `version` is one to eight whole numbers separated by dots, compared number by number; a missing number
/// counts as 0. `page` is an http or https address with a host. Both are required; other members are ignored.
/// The feed is requested by https, or by http from this machine only. The answer must have status 200 and up
/// to 64 KiB.
///
/// The page of a newer version is opened in the desktop's browser.
class FeedUpdater final : public platform::Updater {
public:
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        platform::Workspace& workspace;
        std::string feed;    ///< address of the feed; if it is empty or unusable, every check fails
        std::string version; ///< of this program
    };

    /// The objects in `parts` must outlive it and its tasks.
    explicit FeedUpdater(Parts parts);

    runtime::Task<platform::UpdateOutcome> checkForUpdates() override;

private:
    static runtime::Task<platform::UpdateOutcome> fetch(std::shared_ptr<platform::UrlSession> session,
                                                        std::string feed, std::string version);
    static runtime::Task<platform::UpdateOutcome> giveUpLater(runtime::Clock* clock);

    const Parts parts_;
};

/// Returns what a feed's answer means to a program of that version.
platform::UpdateOutcome readUpdateFeed(std::string_view body, std::string_view version);

/// Returns a negative number if `a` is older than `b`, 0 if they are the same, and a positive number if `a`
/// is newer; nullopt if one of them is not a version.
std::optional<int> compareVersions(std::string_view a, std::string_view b);

} // namespace sonvale::services
