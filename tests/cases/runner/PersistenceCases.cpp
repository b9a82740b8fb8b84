#include "base/Dates.h"
#include "persistence/AuditLogEntry.h"
#include "persistence/DataRetentionManager.h"
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

json retentionCutoff(const json& in) {
    const auto now = known(base::parseIso8601(text(in, "now")), "form of now");
    const auto stored = field(in, "stored").is_null() ? std::nullopt : std::optional(integer(in, "stored"));
    const auto cutoff = persistence::retentionCutoff(now, stored, text(in, "timeZone"));
    return cutoff ? json(base::iso8601(*cutoff)) : json();
}

} // namespace

void addPersistenceCases(CaseRegistry& registry) {
    registry["auditLine"] = auditLine;
    registry["retentionCutoff"] = retentionCutoff;
    registry["isStrayRecording"] = [](const json& in) {
        return persistence::isStrayRecording(text(in, "name"));
    };
}

} // namespace sonvale::tests
