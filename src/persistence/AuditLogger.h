#pragma once

#include "persistence/AuditLogEntry.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace sonvale::persistence {

/// The local record of the program's actions, in `com.sonvale.app/audit.log` under the folder of application
/// data.
///
/// Every operation may be called on any thread and costs the caller one post to a queue: only the logger's
/// own actor uses the file, in the order of the calls. The time of an entry is the time of the call. No
/// failure is visible: an entry that cannot be written is lost. Entries that are queued when the logger is
/// destroyed are dropped.
class AuditLogger {
public:
    /// `queue` is a serial actor; a caller that awaits it knows that earlier calls have finished. `clock`
    /// must outlive the queue's work. The constructor posts one `cleanupOldLogs`.
    AuditLogger(runtime::Actor queue, runtime::Clock& clock, const std::filesystem::path& applicationSupport);
    ~AuditLogger();
    AuditLogger(const AuditLogger&) = delete;
    AuditLogger& operator=(const AuditLogger&) = delete;

    void logAppLaunch();
    void logRecordingStarted();
    void logRecordingStopped(double durationSeconds);
    void logTranscriptionRequested(std::int64_t audioSizeBytes, std::string engine);
    void logTranscriptionReceived(std::int64_t wordCount, std::int64_t latencyMs);
    void logAIProcessingRequested(std::string model);
    void logAIProcessingReceived(std::int64_t inputTokens, std::int64_t outputTokens, std::int64_t latencyMs);
    void logError(std::string resource, std::string details);
    void log(AuditEventType event, std::string actor, std::string resource, std::string outcome,
             AuditMetadata metadata);

    /// Deletes rotated files that were last modified more than 365 calendar days ago.
    void cleanupOldLogs();

private:
    class Files;

    runtime::Actor queue_;
    runtime::Clock& clock_;
    std::shared_ptr<Files> files_;
};

} // namespace sonvale::persistence
