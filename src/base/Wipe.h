#pragma once

#include <strings.h>

#include <string>

namespace sonvale::base {

/// Overwrites the bytes, which no optimiser leaves out, and empties the text.
inline void wipe(std::string& bytes) {
    explicit_bzero(bytes.data(), bytes.size());
    bytes.clear();
}

} // namespace sonvale::base
