#include "core/AppState.h"

#include "persistence/SettingsKeys.h"

// Presses that do not count after all.

namespace sonvale::core {

namespace keys = persistence::keys;

bool AppState::isModifierGuardOn() const {
    return environment_.settings.stored(keys::guardModifierHotkeys).value_or(environment_.areModifiersShared);
}

void AppState::setModifierGuard(bool isOn) {
    environment_.settings.set(keys::guardModifierHotkeys, isOn);
    hotkeyManager->setModifierGuard(isOn);
}

void AppState::observeDictating() {
    // The subscriptions are members, and end with the object.
    const auto report = [this] {
        hotkeyManager->setDictating(isHandsFreeMode.get() ||
                                    recordingState.get() == RecordingState::recording);
    };
    stateForListener_ = recordingState.subscribe([report](RecordingState) { report(); });
    modeForListener_ = isHandsFreeMode.subscribe([report](bool) { report(); });
}

/// The keys that were held belong to another program's shortcut, or were held too briefly to mean anything.
/// A recording that an earlier press began goes on.
runtime::Task<> AppState::handleDiscardedPress() {
    ++discardedPresses_;
    if (isRecordingOfPress_ && recordingState.get() == RecordingState::recording && !isHandsFreeMode.get())
        co_await cancelDictation();
}

} // namespace sonvale::core
