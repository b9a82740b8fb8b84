#pragma once

#include <string>

namespace sonvale::persistence {

/// Bytes that are not text, kept apart from text in the settings.
struct Data {
    std::string bytes;

    bool operator==(const Data&) const = default;
};

} // namespace sonvale::persistence
