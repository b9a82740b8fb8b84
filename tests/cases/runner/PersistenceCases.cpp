#include "base/Dates.h"
#include "persistence/AuditLogEntry.h"
#include "tests/cases/runner/CaseInput.h"

namespace sonvale::tests {

using nlohmann::json;

namespace {

persistence::AuditMetadata metadata(const json& in) {
    const auto& value = field(in, "metadata");
    if (!value.is_object())
        throw BadCase("\"metadata\" is no object");
    persistence::AuditMetadata details;
    for (const auto& [key, detail] : value.get_ref<const json::object_t&>())
        details.emplace(key, text(value, key.c_str()));
    return details;
}

json auditLine(const json& in) {
    const auto moment = known(base::parseIso8601(text(in, "timestamp")), "form of timestamp");
    const auto event = known(persistence::auditEventType(text(in, "eventType")), "event");
    return persistence::auditLine(persistence::AuditLogEntry(
        moment, event, text(in, "actor"), text(in, "resource"), text(in, "outcome"), metadata(in)));
}

} // namespace

void addPersistenceCases(CaseRegistry& registry) {
    registry["auditLine"] = auditLine;
}

} // namespace sonvale::tests
