#include "persistence/DataRetentionManager.h"

#include "persistence/SecureDeletion.h"
#include "persistence/SettingsKeys.h"
#include "persistence/StoreFiles.h"

#include <sys/stat.h>

#include <chrono>
#include <system_error>
#include <utility>
#include <vector>

namespace sonvale::persistence {

namespace {

constexpr std::string_view tempFilePrefix = "sonvale_";
constexpr std::string_view tempFileExtension = ".m4a";
constexpr const char* resource = "dataRetention";

std::vector<std::filesystem::path> strayRecordings(const std::filesystem::path& directory) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isStrayRecording(entry->path().filename().string()))
            found.push_back(entry->path());
    }
    return found;
}

} // namespace

std::optional<base::Date> retentionCutoff(base::Date now, std::optional<std::int64_t> stored,
                                          const std::string& timeZone) {
    const auto days = stored.value_or(DataRetentionManager::defaultRetentionDays);
    // A negative number would give a time in the future and delete all records.
    return days <= 0 ? std::nullopt : base::daysBefore(now, days, timeZone);
}

bool isStrayRecording(std::string_view fileName) {
    return fileName.starts_with(tempFilePrefix) && fileName.ends_with(tempFileExtension);
}

DataRetentionManager::DataRetentionManager(Parts parts)
    : parts_(std::move(parts))
    , tasks_(parts_.main, parts_.clock) {}

void DataRetentionManager::startCleanup() {
    parts_.main.assertCurrent();
    cleanupTimer_.cancel();
    performCleanup();
    tasks_.setOwner(weak_from_this());
    cleanupTimer_ =
        tasks_.later<DataRetentionManager>(*this, cleanupPeriod, &DataRetentionManager::startCleanup);
}

void DataRetentionManager::performCleanup() {
    parts_.main.assertCurrent();
    if (modelContext == nullptr)
        return;
    const auto expiry = cutoff();
    const auto deleted = deleteExpired(expiry) + deleteDismissed();
    const auto removed = removeTemporaryFiles();
    deleteOldStores(expiry);
    parts_.auditLogger.cleanupOldLogs();
    parts_.auditLogger.log(
        AuditEventType::dataDeleted, "system", resource, "success",
        {{"transcriptionsDeleted", std::to_string(deleted)}, {"tempFilesRemoved", std::to_string(removed)}});
}

std::optional<base::Date> DataRetentionManager::cutoff() const {
    const auto& key = keys::retentionPeriodDays;
    // A value that is not an integer reads as 0, which disables the age rule. Only a missing key means the
    // default.
    const auto days =
        parts_.settings.has(key.name) ? std::optional(parts_.settings.stored(key).value_or(0)) : std::nullopt;
    return retentionCutoff(parts_.clock.date(), days);
}

std::int64_t DataRetentionManager::deleteExpired(const std::optional<base::Date>& cutoff) {
    if (!cutoff)
        return 0;
    return deleteTranscriptions({.where = {{&Transcription::timestamp, Comparison::less, *cutoff}}},
                                "fetch-expired-transcriptions-failed");
}

std::int64_t DataRetentionManager::deleteDismissed() {
    return deleteTranscriptions({.where = {{&Transcription::isDismissed, Comparison::equal, true}}},
                                "fetch-dismissed-transcriptions-failed");
}

std::int64_t DataRetentionManager::deleteTranscriptions(const FetchDescriptor<Transcription>& which,
                                                        std::string failureDetails) {
    std::vector<Transcription> records;
    try {
        records = modelContext->fetch(which);
    } catch (const StoreError&) {
        parts_.auditLogger.logError(resource, std::move(failureDetails));
        return 0;
    }
    if (records.empty())
        return 0;
    for (const auto& record : records)
        modelContext->remove(record);
    try {
        modelContext->save();
    } catch (const StoreError&) {
        // The removals stay staged. The next successful save writes them.
    }
    return static_cast<std::int64_t>(records.size());
}

void DataRetentionManager::deleteOldStores(const std::optional<base::Date>& cutoff) {
    if (!cutoff)
        return;
    for (const auto& file : filesOfStoresPutAside(parts_.applicationSupport / storeDirectoryName)) {
        struct stat status{};
        if (::lstat(file.c_str(), &status) != 0 ||
            std::chrono::system_clock::from_time_t(status.st_mtime) >= *cutoff)
            continue;
        try {
            secureDelete(file, parts_.secureRandom);
        } catch (const std::exception&) {
            parts_.auditLogger.logError(resource, "old-store-removal-failed");
        }
    }
}

std::int64_t DataRetentionManager::removeTemporaryFiles() {
    std::int64_t removed = 0;
    for (const auto& file : strayRecordings(parts_.temporaryDirectory)) {
        try {
            secureDelete(file, parts_.secureRandom);
            ++removed;
        } catch (const std::exception&) {
            parts_.auditLogger.logError(resource, "temp-file-removal-failed");
        }
    }
    return removed;
}

} // namespace sonvale::persistence
