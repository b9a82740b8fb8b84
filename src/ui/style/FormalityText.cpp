#include "ui/style/FormalityText.h"

namespace sonvale::ui {

std::string_view formalityText(std::int64_t formality) {
    switch (formality) {
    case 1:
        return "Very casual — contractions, slang, emoji-friendly";
    case 2:
        return "Casual — relaxed but clear";
    case 3:
        return "Neutral — balanced tone, appropriate for most situations";
    case 4:
        return "Professional — polished and clear";
    case 5:
        return "Formal — no contractions, precise and structured";
    default:
        return "Neutral";
    }
}

} // namespace sonvale::ui
