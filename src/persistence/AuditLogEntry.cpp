#include "persistence/AuditLogEntry.h"

#include "base/Json.h"

#include <utility>

namespace sonvale::persistence {

AuditLogEntry::AuditLogEntry(base::Date moment, AuditEventType event, std::string who, std::string what,
                             std::string result, AuditMetadata details)
    : timestamp(base::iso8601(moment))
    , eventType(rawValue(event))
    , actor(std::move(who))
    , resource(std::move(what))
    , outcome(std::move(result))
    , metadata(std::move(details)) {}

std::string auditLine(const AuditLogEntry& entry) {
    const base::Json object{{"actor", entry.actor},       {"eventType", entry.eventType},
                            {"metadata", entry.metadata}, {"outcome", entry.outcome},
                            {"resource", entry.resource}, {"timestamp", entry.timestamp}};
    std::string line;
    // Readers of this file expect an encoder that writes a slash with a backslash. A slash occurs in strings
    // only.
    for (const char byte : base::jsonText(object)) {
        if (byte == '/')
            line += '\\';
        line += byte;
    }
    return line;
}

} // namespace sonvale::persistence
