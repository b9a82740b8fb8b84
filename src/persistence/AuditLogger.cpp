#include "persistence/AuditLogger.h"

#include "persistence/FileDescriptor.h"
#include "persistence/PrivateFiles.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace sonvale::persistence {

namespace {

constexpr std::string_view bundleID = "com.sonvale.app";
constexpr std::string_view logFileName = "audit.log";
constexpr std::string_view rotatedPrefix = "audit-";
constexpr std::string_view rotatedExtension = ".log";
constexpr std::uint64_t maxFileSizeBytes = 10'485'760;
constexpr int retentionDays = 365;

base::Date modificationDate(const struct stat& status) {
    return base::Date(std::chrono::duration_cast<base::Date::duration>(
        std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec)));
}

} // namespace

/// The files of the log. All operations run on the logger's queue, one at a time.
class AuditLogger::Files {
public:
    Files(std::filesystem::path directory, runtime::Clock& clock)
        : directory_(std::move(directory))
        , file_(directory_ / logFileName)
        , clock_(clock) {}

    void write(const AuditLogEntry& entry);
    void cleanup();

private:
    void rotateIfNeeded();
    void append(const FileDescriptor& descriptor, std::string_view line);

    const std::filesystem::path directory_;
    const std::filesystem::path file_;
    runtime::Clock& clock_;
};

void AuditLogger::Files::write(const AuditLogEntry& entry) {
    // A failure needs no handling here: without the folder the steps below fail too.
    makePrivateDirectory(directory_); // NOLINT(bugprone-unused-return-value)
    rotateIfNeeded();
    const auto line = auditLine(entry) + '\n';

    // Non-blocking: a pipe in place of the file must not stop the queue.
    const FileDescriptor descriptor(file_, O_WRONLY | O_APPEND | O_NONBLOCK);
    if (descriptor) {
        append(descriptor, line);
    } else if (errno == ENOENT) {
        // A log that cannot be written must never disturb a dictation.
        replacePrivateFile(file_, line); // NOLINT(bugprone-unused-return-value)
    }
}

void AuditLogger::Files::append(const FileDescriptor& descriptor, std::string_view line) {
    struct stat status{};
    if (::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    if (descriptor.write(line)) {
        // Half an entry would damage the next one too. If the truncation fails, both are lost.
        [[maybe_unused]] const int outcome = ::ftruncate(descriptor.number(), status.st_size);
    }
}

void AuditLogger::Files::rotateIfNeeded() {
    struct stat status{};
    if (::lstat(file_.c_str(), &status) != 0 || static_cast<std::uint64_t>(status.st_size) < maxFileSizeBytes)
        return;
    auto timestamp = base::iso8601(clock_.date());
    std::ranges::replace(timestamp, ':', '-');
    const auto rotated = directory_ / fmt::format("{}{}{}", rotatedPrefix, timestamp, rotatedExtension);
    // Within one second the name is the same: the earlier file stays, and the current file grows.
    if (::lstat(rotated.c_str(), &status) == 0)
        return;
    // If the move fails, the entry goes to the old file.
    std::error_code ignored;
    std::filesystem::rename(file_, rotated, ignored);
}

void AuditLogger::Files::cleanup() {
    const auto cutoff = base::daysBefore(clock_.date(), retentionDays);
    std::error_code error;
    std::filesystem::directory_iterator entries(directory_, error);
    // Without a folder there is nothing to delete.
    if (error || !cutoff)
        return;
    for (; entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const auto& path = entries->path();
        if (!path.filename().native().starts_with(rotatedPrefix) || path.extension() != rotatedExtension)
            continue;
        struct stat status{};
        if (::lstat(path.c_str(), &status) != 0 || !(modificationDate(status) < *cutoff))
            continue;
        // The next launch tries again to delete the file.
        ::unlink(path.c_str());
    }
}

AuditLogger::AuditLogger(runtime::Actor queue, runtime::Clock& clock,
                         const std::filesystem::path& applicationSupport)
    : queue_(std::move(queue))
    , clock_(clock)
    , files_(std::make_shared<Files>(applicationSupport / bundleID, clock)) {
    cleanupOldLogs();
}

AuditLogger::~AuditLogger() = default;

void AuditLogger::logAppLaunch() {
    log(AuditEventType::appLaunch, "system", "app", "success", {});
}

void AuditLogger::logRecordingStarted() {
    log(AuditEventType::recordingStarted, "user", "recording", "success", {});
}

void AuditLogger::logRecordingStopped(double durationSeconds) {
    log(AuditEventType::recordingStopped, "user", "recording", "success",
        {{"durationSeconds", fmt::format("{:.2f}", durationSeconds)}});
}

void AuditLogger::logTranscriptionRequested(std::int64_t audioSizeBytes, std::string engine) {
    log(AuditEventType::transcriptionRequested, "system", "transcription", "success",
        {{"audioSizeBytes", std::to_string(audioSizeBytes)}, {"engine", std::move(engine)}});
}

void AuditLogger::logTranscriptionReceived(std::int64_t wordCount, std::int64_t latencyMs) {
    log(AuditEventType::transcriptionReceived, "system", "transcription", "success",
        {{"wordCount", std::to_string(wordCount)}, {"latencyMs", std::to_string(latencyMs)}});
}

void AuditLogger::logAIProcessingRequested(std::string model) {
    log(AuditEventType::aiProcessingRequested, "system", "aiProcessing", "success",
        {{"engine", std::move(model)}});
}

void AuditLogger::logAIProcessingReceived(std::int64_t inputTokens, std::int64_t outputTokens,
                                          std::int64_t latencyMs) {
    log(AuditEventType::aiProcessingReceived, "system", "aiProcessing", "success",
        {{"inputTokens", std::to_string(inputTokens)},
         {"outputTokens", std::to_string(outputTokens)},
         {"latencyMs", std::to_string(latencyMs)}});
}

void AuditLogger::logError(std::string resource, std::string details) {
    log(AuditEventType::error, "system", std::move(resource), "failure",
        {{"errorDetails", std::move(details)}});
}

void AuditLogger::log(AuditEventType event, std::string actor, std::string resource, std::string outcome,
                      AuditMetadata metadata) {
    queue_.post([weak = std::weak_ptr(files_), moment = clock_.date(), event, actor = std::move(actor),
                 resource = std::move(resource), outcome = std::move(outcome),
                 metadata = std::move(metadata)] {
        if (const auto files = weak.lock())
            files->write(AuditLogEntry(moment, event, actor, resource, outcome, metadata));
    });
}

void AuditLogger::cleanupOldLogs() {
    queue_.post([weak = std::weak_ptr(files_)] {
        if (const auto files = weak.lock())
            files->cleanup();
    });
}

} // namespace sonvale::persistence
