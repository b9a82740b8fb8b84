#pragma once

#include "base/Dates.h"
#include "persistence/AuditLogger.h"
#include "persistence/ModelContext.h"
#include "persistence/Settings.h"
#include "platform/SecureRandom.h"
#include "runtime/OwnedTasks.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::persistence {

/// Deletes old dictations and left-over recordings, at the start and then once a day.
///
/// Main actor. Owned by a shared pointer; its timer holds it weakly.
class DataRetentionManager : public std::enable_shared_from_this<DataRetentionManager> {
public:
    static constexpr std::int64_t defaultRetentionDays = 30;
    static constexpr double cleanupPeriod = 86400; ///< seconds

    /// The objects that it uses. All of them outlive it.
    struct Parts {
        runtime::Actor main;
        runtime::Clock& clock;
        const Settings& settings;
        AuditLogger& auditLogger;
        platform::SecureRandom& secureRandom;
        std::filesystem::path temporaryDirectory;
        std::filesystem::path applicationSupport; ///< contains the store's folder
    };

    explicit DataRetentionManager(Parts parts);
    DataRetentionManager(const DataRetentionManager&) = delete;
    DataRetentionManager& operator=(const DataRetentionManager&) = delete;

    /// The store's main context. Nothing is deleted while it is null.
    ModelContext* modelContext = nullptr;

    /// Cleans up now and then once a day. Ends a previous schedule.
    void startCleanup();

    /// Deletes dictations that are older than the user's setting, dictations that were dismissed, stores that
    /// were put aside longer ago than the setting, every recording in the temporary folder, of any age and
    /// even if it is being recorded, and old rotated audit logs. Never throws: it records a failure in the
    /// audit log and continues.
    void performCleanup();

private:
    std::int64_t deleteTranscriptions(const FetchDescriptor<Transcription>& which,
                                      std::string failureDetails);
    std::int64_t deleteExpired(const std::optional<base::Date>& cutoff);
    std::optional<base::Date> cutoff() const;
    void deleteOldStores(const std::optional<base::Date>& cutoff);
    std::int64_t deleteDismissed();
    std::int64_t removeTemporaryFiles();

    const Parts parts_;
    runtime::OwnedTasks tasks_;
    runtime::TaskHandle<> cleanupTimer_;
};

/// Returns the time before which dictations expire. `stored` is the setting of days: the default applies if
/// it is nullopt, and 0 or less disables the age rule. Returns nullopt if the rule is disabled or the
/// calendar has no such time. `timeZone` is an IANA name; empty means the system's zone.
std::optional<base::Date> retentionCutoff(base::Date now, std::optional<std::int64_t> stored,
                                          const std::string& timeZone = {});

/// Returns whether a file with that name in the temporary folder is a recording of this program.
bool isStrayRecording(std::string_view fileName);

} // namespace sonvale::persistence
