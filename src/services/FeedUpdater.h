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

/// Asks a feed for the newest version: a JSON object at a fixed address,
///
///     {"version": "1.2.0", "page": "https://example.org/download"}
///
/// `version` is one to eight whole numbers between dots, compared number by number; one that is not there
/// counts as 0. `page` is an http or https address with a host. Both must be there; other members are
/// ignored. The feed is got by https, by http from this machine only, with status 200 and at most 64 KiB.
///
/// A newer version's page is opened with the desktop's browser.
class FeedUpdater final : public platform::Updater {
public:
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        platform::Workspace& workspace;
        std::string feed;    ///< its address; empty or unusable: every check fails
        std::string version; ///< of this program
    };

    /// What is named in `parts` outlives it and its tasks.
    explicit FeedUpdater(Parts parts);

    runtime::Task<platform::UpdateOutcome> checkForUpdates() override;

private:
    static runtime::Task<platform::UpdateOutcome> fetch(std::shared_ptr<platform::UrlSession> session,
                                                        std::string feed, std::string version);
    static runtime::Task<platform::UpdateOutcome> giveUpLater(runtime::Clock* clock);

    const Parts parts_;
};

/// What a feed's answer says to a program of that version.
platform::UpdateOutcome readUpdateFeed(std::string_view body, std::string_view version);

/// Whether `a` is older than (negative), the same as (0) or newer than `b`; nothing when one is no version.
std::optional<int> compareVersions(std::string_view a, std::string_view b);

} // namespace sonvale::services
