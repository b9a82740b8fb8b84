#pragma once

#include <strings.h>

#include <string>

namespace sonvale::base {

/// Overwrites the bytes, in a way that no optimizer removes, and empties the text.
template <class Allocator>
void wipe(std::basic_string<char, std::char_traits<char>, Allocator>& bytes) {
    explicit_bzero(bytes.data(), bytes.size());
    bytes.clear();
}

} // namespace sonvale::base
