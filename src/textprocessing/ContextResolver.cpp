#include "textprocessing/ContextResolver.h"

#include "textprocessing/AppCategory.h"

#include <algorithm>
#include <vector>

namespace sonvale::textprocessing {

using persistence::WritingStyle;

ContextResolver::ContextResolver(const persistence::ModelContext& modelContext)
    : modelContext_(modelContext) {}

Style ContextResolver::resolve(std::optional<std::string_view> bundleID) const {
    std::vector<WritingStyle> styles;
    try {
        styles = modelContext_.fetch<WritingStyle>();
    } catch (const persistence::StoreError&) {
        // In the neutral tone the text is still worth cleaning.
    }
    const auto category = rawValue(forBundleID(bundleID));
    const auto found = std::ranges::find(styles, category, &WritingStyle::category);
    return found == styles.end() ? Style{} : Style{found->formality, found->customInstructions};
}

} // namespace sonvale::textprocessing
