#pragma once

#include <optional>
#include <string_view>

namespace sonvale::persistence {

/// What an entry of the audit log tells of. Not all are emitted today; they are the log's vocabulary.
enum class AuditEventType {
    appLaunch,
    appClose,
    recordingStarted,
    recordingStopped,
    transcriptionRequested,
    transcriptionReceived,
    aiProcessingRequested,
    aiProcessingReceived,
    textInserted,
    settingsChanged,
    dataDeleted,
    dataExported,
    privacyModeToggled,
    error,
};

inline constexpr AuditEventType allAuditEventTypes[] = {
    AuditEventType::appLaunch,
    AuditEventType::appClose,
    AuditEventType::recordingStarted,
    AuditEventType::recordingStopped,
    AuditEventType::transcriptionRequested,
    AuditEventType::transcriptionReceived,
    AuditEventType::aiProcessingRequested,
    AuditEventType::aiProcessingReceived,
    AuditEventType::textInserted,
    AuditEventType::settingsChanged,
    AuditEventType::dataDeleted,
    AuditEventType::dataExported,
    AuditEventType::privacyModeToggled,
    AuditEventType::error,
};

/// The event's name in the file, spelled as the case.
std::string_view rawValue(AuditEventType type);
/// Nothing for a text that is no event.
std::optional<AuditEventType> auditEventType(std::string_view rawValue);

} // namespace sonvale::persistence
