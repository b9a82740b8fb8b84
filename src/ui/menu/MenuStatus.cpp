#include "ui/menu/MenuStatus.h"

#include <QtGlobal>

namespace sonvale::ui {

std::string_view menuStatus(platform::RecordingState state) {
    switch (state) {
    case platform::RecordingState::idle:
        return QT_TRANSLATE_NOOP("Texts", "Ready");
    case platform::RecordingState::recording:
        return QT_TRANSLATE_NOOP("Texts", "Listening...");
    case platform::RecordingState::processing:
        return QT_TRANSLATE_NOOP("Texts", "Processing...");
    case platform::RecordingState::processingHandsFree:
        return QT_TRANSLATE_NOOP("Texts", "Cleaning up...");
    }
    return {};
}

} // namespace sonvale::ui
