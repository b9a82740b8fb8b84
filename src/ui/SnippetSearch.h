#pragma once

#include "persistence/Records.h"

#include <string_view>

namespace sonvale::ui {

/// Whether a snippet is among those that a search shows: its trigger or its content contains the text,
/// without regard to case. Every snippet for an empty one.
bool matchesSearch(const persistence::Snippet& snippet, std::string_view searchText);

} // namespace sonvale::ui
