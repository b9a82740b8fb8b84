#pragma once

#include <optional>
#include <string_view>

namespace sonvale::persistence {

/// The kinds of entries of the audit log. Some are not written today; they belong to the vocabulary of the
/// log.
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

/// Returns the event's name in the file, which is spelled as the case.
std::string_view rawValue(AuditEventType type);
/// Returns nullopt if the text is not the name of an event.
std::optional<AuditEventType> auditEventType(std::string_view rawValue);

} // namespace sonvale::persistence
