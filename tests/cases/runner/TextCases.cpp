#include "core/TranscriptText.h"
#include "services/BundleInfo.h"
#include "tests/cases/runner/CaseInput.h"
#include "textprocessing/AppCategory.h"

namespace sonvale::tests {

using nlohmann::json;

void addTextCases(CaseRegistry& registry) {
    registry["stripTrailingEllipsis"] = [](const json& in) {
        return core::stripTrailingEllipsis(text(in, "text"));
    };
    registry["wordCount"] = [](const json& in) { return core::wordCount(text(in, "text")); };
    registry["usableBundleKey"] = [](const json& in) {
        return services::isUsableBundleKey(field(in, "value"));
    };
    registry["appCategory"] = [](const json& in) {
        return textprocessing::rawValue(textprocessing::forBundleID(textOrNull(in, "bundleID")));
    };
    registry["displayPhrase"] = [](const json& in) {
        const auto category = text(in, "category");
        return textprocessing::displayPhrase(
            known(textprocessing::appCategoryFromRawValue(category), "category \"" + category + "\""));
    };
}

} // namespace sonvale::tests
