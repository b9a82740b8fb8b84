#include "tests/cases/runner/CaseInput.h"
#include "transcription/SpeechLocale.h"
#include "transcription/TranscriptionEnginePreference.h"

namespace sonvale::tests {

using nlohmann::json;

void addEngineCases(CaseRegistry& registry) {
    registry["enginePreference"] = [](const json& in) {
        return transcription::rawValue(transcription::preferenceAtStart(textOrNull(in, "raw")));
    };
    registry["localeFor"] = [](const json& in) {
        return transcription::localeFor(textOrNull(in, "language"), text(in, "current"));
    };
}

} // namespace sonvale::tests
