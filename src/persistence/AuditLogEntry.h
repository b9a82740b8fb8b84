#pragma once

#include "base/Dates.h"
#include "persistence/AuditEventType.h"

#include <map>
#include <string>

namespace sonvale::persistence {

using AuditMetadata = std::map<std::string, std::string>;

/// One line of the audit log: facts and sizes, never spoken or written content.
struct AuditLogEntry {
    AuditLogEntry(base::Date moment, AuditEventType event, std::string who, std::string what,
                  std::string result, AuditMetadata details);

    std::string timestamp; ///< ISO 8601 in UTC, the time of the call
    std::string eventType; ///< raw value of `AuditEventType`
    std::string actor;     ///< "user" or "system"
    std::string resource;  ///< the part of the system concerned
    std::string outcome;   ///< "success" or "failure"
    AuditMetadata metadata;
};

/// Returns the entry as one line of the file without its line feed: a compact JSON object with sorted keys
/// and "/" written as "\/". Repairs text that is not UTF-8. Any thread.
std::string auditLine(const AuditLogEntry& entry);

} // namespace sonvale::persistence
