#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sonvale::textprocessing {

/// The context of the clean-up of one text.
struct ProcessingContext {
    std::int64_t formality = 3; ///< 1 to 5
    std::string customInstructions{};
    std::vector<std::string> dictionaryEntries{}; ///< each in the form for the model
    std::string appCategory{};                    ///< display phrase

    bool operator==(const ProcessingContext&) const = default;
};

} // namespace sonvale::textprocessing
