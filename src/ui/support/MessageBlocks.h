#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace sonvale::ui {

/// A cut of a long text, in bytes. Each piece can be laid out by itself.
struct BlockCut {
    std::size_t end = 0;  ///< the end of the first block
    std::size_t next = 0; ///< the beginning of the rest, after the separator
};

/// Returns the cut after the first block of a text, or nullopt if the text is one block. The cut does not
/// move while the text grows. Blocks end at the end of a line if possible, otherwise at the end of a word,
/// and never inside a user-perceived character.
std::optional<BlockCut> firstBlockCut(std::string_view text);

} // namespace sonvale::ui
