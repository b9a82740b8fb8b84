#include "ui/scratchpad/ScratchpadText.h"

#include "base/Text.h"

namespace sonvale::ui {

std::size_t scratchpadWords(std::string_view text) {
    return base::piecesBetweenWhiteSpace(text).size();
}

} // namespace sonvale::ui
