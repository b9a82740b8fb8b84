#pragma once

#include "persistence/ModelContext.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::textprocessing {

/// The user's tone for one kind of application.
struct Style {
    std::int64_t formality = 3;
    std::string customInstructions{};
    bool operator==(const Style&) const = default;
};

/// Looks up the user's tone. Main thread; cheap to construct. The store must outlive it.
class ContextResolver {
public:
    explicit ContextResolver(const persistence::ModelContext& modelContext);

    /// Returns the style for the category of that application: its first record, or the default without one.
    /// A store that cannot be read counts as empty.
    Style resolve(std::optional<std::string_view> bundleID) const;

private:
    const persistence::ModelContext& modelContext_;
};

} // namespace sonvale::textprocessing
