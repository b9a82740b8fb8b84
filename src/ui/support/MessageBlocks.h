#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace sonvale::ui {

/// Where a long text is cut so that each piece of it can be laid out by itself, in bytes.
struct BlockCut {
    std::size_t end = 0;  ///< of the first block
    std::size_t next = 0; ///< where the rest begins: behind what parts them
};

/// The cut behind the first block of a text; nothing when all of it is one block. It stays where it is
/// however the text grows. Blocks end with a line where they can, else with a word, and never inside a
/// user-perceived character.
std::optional<BlockCut> firstBlockCut(std::string_view text);

} // namespace sonvale::ui
