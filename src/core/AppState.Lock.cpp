#include "core/AppState.h"

#include "base/Log.h"

// Nothing is recorded or typed while the screen is locked.

namespace sonvale::core {

void AppState::observeLock() {
    environment_.sessionLock.setOnLockChange([weak = weak_from_this()](bool isLocked) {
        if (const auto self = weak.lock())
            self->setScreenLocked(isLocked);
    });
}

void AppState::setScreenLocked(bool isLocked) {
    isScreenLocked_ = isLocked;
    // A desktop whose report is wrong would otherwise leave the user without a reason for the silence.
    base::systemLog(isLocked ? "[AppState] the screen is locked, hotkeys are ignored"
                             : "[AppState] the screen is unlocked");
    if (isLocked)
        runtime::spawn(environment_.main, endForLock(shared_from_this()));
}

/// Ends a dictation as the user would, so that what was said is transcribed and kept.
runtime::Task<> AppState::endForLock(std::shared_ptr<AppState> self) {
    co_await (self->isHandsFreeMode.get() ? self->stopHandsFreeMode() : self->stopDictation());
}

/// False while the screen is locked: keys would then go to the field of the password.
bool AppState::isTypingPossible() {
    if (isScreenLocked_)
        surfaceError(
            "The screen was locked, so nothing was typed. Your text is kept as the last transcript.");
    return !isScreenLocked_;
}

} // namespace sonvale::core
