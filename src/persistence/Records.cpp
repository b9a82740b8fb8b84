#include "persistence/Records.h"

namespace sonvale::persistence {

std::string_view rawValue(EntryCategory category) {
    switch (category) {
    case EntryCategory::personal:
        return "personal";
    case EntryCategory::name:
        return "name";
    case EntryCategory::technical:
        return "technical";
    case EntryCategory::abbreviation:
        return "abbreviation";
    case EntryCategory::other:
        return "other";
    }
    return "other";
}

std::optional<EntryCategory> entryCategory(std::string_view raw) {
    for (const auto category : allEntryCategories) {
        if (rawValue(category) == raw)
            return category;
    }
    return std::nullopt;
}

} // namespace sonvale::persistence
