#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sonvale::textprocessing {

/// What the clean-up of one text goes by.
struct ProcessingContext {
    std::int64_t formality = 3; ///< 1 to 5
    std::string customInstructions{};
    std::vector<std::string> dictionaryEntries{}; ///< each as the model is told it
    std::string appCategory{};                    ///< display phrase

    bool operator==(const ProcessingContext&) const = default;
};

} // namespace sonvale::textprocessing
