#include "ui/style/FormalityText.h"

#include <QtGlobal>

namespace sonvale::ui {

std::string_view formalityText(std::int64_t formality) {
    switch (formality) {
    case 1:
        return QT_TRANSLATE_NOOP("Texts", "Very casual — contractions, slang, emoji-friendly");
    case 2:
        return QT_TRANSLATE_NOOP("Texts", "Casual — relaxed but clear");
    case 3:
        return QT_TRANSLATE_NOOP("Texts", "Neutral — balanced tone, appropriate for most situations");
    case 4:
        return QT_TRANSLATE_NOOP("Texts", "Professional — polished and clear");
    case 5:
        return QT_TRANSLATE_NOOP("Texts", "Formal — no contractions, precise and structured");
    default:
        return QT_TRANSLATE_NOOP("Texts", "Neutral");
    }
}

} // namespace sonvale::ui
