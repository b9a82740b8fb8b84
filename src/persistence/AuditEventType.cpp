#include "persistence/AuditEventType.h"

namespace sonvale::persistence {

std::string_view rawValue(AuditEventType type) {
    switch (type) {
    case AuditEventType::appLaunch:
        return "appLaunch";
    case AuditEventType::appClose:
        return "appClose";
    case AuditEventType::recordingStarted:
        return "recordingStarted";
    case AuditEventType::recordingStopped:
        return "recordingStopped";
    case AuditEventType::transcriptionRequested:
        return "transcriptionRequested";
    case AuditEventType::transcriptionReceived:
        return "transcriptionReceived";
    case AuditEventType::aiProcessingRequested:
        return "aiProcessingRequested";
    case AuditEventType::aiProcessingReceived:
        return "aiProcessingReceived";
    case AuditEventType::textInserted:
        return "textInserted";
    case AuditEventType::settingsChanged:
        return "settingsChanged";
    case AuditEventType::dataDeleted:
        return "dataDeleted";
    case AuditEventType::dataExported:
        return "dataExported";
    case AuditEventType::privacyModeToggled:
        return "privacyModeToggled";
    case AuditEventType::error:
        return "error";
    }
    return "error";
}

std::optional<AuditEventType> auditEventType(std::string_view raw) {
    for (const auto type : allAuditEventTypes) {
        if (rawValue(type) == raw)
            return type;
    }
    return std::nullopt;
}

} // namespace sonvale::persistence
