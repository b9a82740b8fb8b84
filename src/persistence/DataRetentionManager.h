#pragma once

#include "base/Dates.h"
#include "persistence/AuditLogger.h"
#include "persistence/ModelContext.h"
#include "persistence/Settings.h"
#include "platform/SecureRandom.h"
#include "runtime/Clock.h"
#include "runtime/Task.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::persistence {

/// Keeps old dictations and left-over recordings from piling up: once at start and then once a day.
///
/// Main actor. Held by a shared pointer; its timer holds it weakly.
class DataRetentionManager : public std::enable_shared_from_this<DataRetentionManager> {
public:
    static constexpr std::int64_t defaultRetentionDays = 30;
    static constexpr double cleanupPeriod = 86400; ///< seconds

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        const Settings& settings;
        AuditLogger& auditLogger;
        platform::SecureRandom& secureRandom;
        std::filesystem::path temporaryDirectory;
        std::filesystem::path applicationSupport; ///< holds the store's folder
    };

    explicit DataRetentionManager(Parts parts);
    DataRetentionManager(const DataRetentionManager&) = delete;
    DataRetentionManager& operator=(const DataRetentionManager&) = delete;

    /// The store's main context; nothing happens while it is null.
    ModelContext* modelContext = nullptr;

    /// Cleans up now and from then on once a day; a former schedule ends.
    void startCleanup();

    /// Deletes the dictations that are older than the user wants to keep them, those that were dismissed,
    /// stores that were put aside longer ago than that, and every recording that was left in the temporary
    /// folder, however young; a running one's too. Rotated audit logs go with it. Never throws: a failure is
    /// recorded in the audit log and the rest goes on.
    void performCleanup();

private:
    static runtime::Task<> repeat(std::weak_ptr<DataRetentionManager> weakSelf, runtime::Clock* clock);
    std::int64_t deleteTranscriptions(const FetchDescriptor<Transcription>& which,
                                      std::string failureDetails);
    std::int64_t deleteExpired(const std::optional<base::Date>& cutoff);
    std::optional<base::Date> cutoff() const;
    void deleteOldStores(const std::optional<base::Date>& cutoff);
    std::int64_t deleteDismissed();
    std::int64_t removeTemporaryFiles();

    const Parts parts_;
    runtime::TaskHandle<> cleanupTimer_;
};

/// Returns the moment before which dictations expire. `stored` is the setting of days: the default applies if
/// it is nullopt, and 0 or less switches the age rule off. Returns nullopt if the rule is off or the calendar
/// has no such moment. `timeZone`: an IANA name; empty for the system's own.
std::optional<base::Date> retentionCutoff(base::Date now, std::optional<std::int64_t> stored,
                                          const std::string& timeZone = {});

/// Whether a file of that name in the temporary folder is a recording of this program.
bool isStrayRecording(std::string_view fileName);

} // namespace sonvale::persistence
