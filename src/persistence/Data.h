#pragma once

#include <string>

namespace sonvale::persistence {

/// Bytes that are not text. The settings distinguish them from text.
struct Data {
    std::string bytes;

    bool operator==(const Data&) const = default;
};

} // namespace sonvale::persistence
