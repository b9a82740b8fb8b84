#include "ui/SnippetSearch.h"

#include "base/Text.h"

namespace sonvale::ui {

bool matchesSearch(const persistence::Snippet& snippet, std::string_view searchText) {
    return searchText.empty() || base::containsIgnoringCase(snippet.trigger, searchText) ||
           base::containsIgnoringCase(snippet.content, searchText);
}

} // namespace sonvale::ui
