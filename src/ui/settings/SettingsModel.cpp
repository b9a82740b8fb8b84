#include "ui/settings/SettingsModel.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"

#include <utility>

namespace sonvale::ui {

namespace keys = persistence::keys;

SettingsModel::SettingsModel(Parts parts)
    : parts_(std::move(parts))
    , permissions_(parts_.appState->permissionsManager)
    , transcription_(parts_.settings, parts_.appState)
    , updates_(parts_.main, parts_.updater, parts_.version) {
    takeOverLoginItem();
}

void SettingsModel::set(const persistence::SettingKey<bool>& key, bool isOn) {
    parts_.settings.set(key, isOn);
    Q_EMIT changed();
}

void SettingsModel::takeOverLoginItem() {
    parts_.settings.set(keys::launchAtLogin, parts_.loginItem.isEnabled());
}

void SettingsModel::refresh() {
    takeOverLoginItem();
    transcription_.refresh();
    Q_EMIT changed();
}

bool SettingsModel::launchAtLogin() const {
    return parts_.settings.bound(keys::launchAtLogin);
}

void SettingsModel::setLaunchAtLogin(bool isOn) {
    set(keys::launchAtLogin, isOn);
    try {
        if (isOn)
            parts_.loginItem.registerItem();
        else
            parts_.loginItem.unregisterItem();
    } catch (const platform::LoginItemError& error) {
        // The switch keeps the user's choice. The next refresh shows the real state.
        static const base::Logger logger("Settings");
        logger.error("launch at login: {}", error.what());
    }
}

bool SettingsModel::soundEffects() const {
    return parts_.settings.bound(keys::soundEffectsEnabled);
}

void SettingsModel::setSoundEffects(bool isOn) {
    set(keys::soundEffectsEnabled, isOn);
}

bool SettingsModel::pauseAudioDuringDictation() const {
    return parts_.settings.bound(keys::pauseAudioDuringDictation);
}

void SettingsModel::setPauseAudioDuringDictation(bool isOn) {
    set(keys::pauseAudioDuringDictation, isOn);
}

bool SettingsModel::showInDock() const {
    return parts_.settings.bound(keys::showInDock);
}

void SettingsModel::setShowInDock(bool isOn) {
    set(keys::showInDock, isOn);
    parts_.application.setActivationPolicy(isOn ? platform::ActivationPolicy::regular
                                                : platform::ActivationPolicy::accessory);
}

bool SettingsModel::guardModifierHotkeys() const {
    return parts_.appState->isModifierGuardOn();
}

void SettingsModel::setGuardModifierHotkeys(bool isOn) {
    parts_.appState->setModifierGuard(isOn);
    Q_EMIT changed();
}

bool SettingsModel::textCleanup() const {
    return parts_.settings.bound(keys::aiProcessingEnabled);
}

void SettingsModel::setTextCleanup(bool isOn) {
    set(keys::aiProcessingEnabled, isOn);
}

bool SettingsModel::privacyMode() const {
    return parts_.settings.bound(keys::privacyModeEnabled);
}

void SettingsModel::setPrivacyMode(bool isOn) {
    set(keys::privacyModeEnabled, isOn);
}

bool SettingsModel::localOnlyMode() const {
    return parts_.settings.bound(keys::localOnlyMode);
}

void SettingsModel::setLocalOnlyMode(bool isOn) {
    // Setting the same value twice would remember the on-device engine as the previous one.
    if (isOn == localOnlyMode())
        return;
    parts_.settings.set(keys::localOnlyMode, isOn);
    parts_.appState->setLocalOnlyMode(isOn);
    transcription_.refresh();
    Q_EMIT changed();
}

void SettingsModel::recheckPermissions() {
    parts_.appState->startHotkeysIfReady();
}

} // namespace sonvale::ui
