#include "ui/settings/SettingsModel.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "ui/common/Languages.h"
#include "ui/common/Texts.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace sonvale::ui {

namespace keys = persistence::keys;

namespace {

using transcription::TranscriptionEnginePreference;

struct OfferedEngine {
    SettingsModel::Engine engine;
    std::string_view storedName;
};

const std::array offeredEngines{
    OfferedEngine{SettingsModel::Engine::Streaming, rawValue(TranscriptionEnginePreference::streaming)},
    OfferedEngine{SettingsModel::Engine::Hybrid, rawValue(TranscriptionEnginePreference::hybrid)},
    OfferedEngine{SettingsModel::Engine::Local, rawValue(TranscriptionEnginePreference::local)},
};

} // namespace

SettingsModel::SettingsModel(Parts parts)
    : parts_(std::move(parts))
    , permissions_(parts_.appState->permissionsManager) {
    takeOverLoginItem();
}

SettingsModel::~SettingsModel() {
    updateTask_.cancel();
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
    Q_EMIT changed();
}

SettingsModel::Engine SettingsModel::engine() const {
    const auto stored = parts_.settings.bound(keys::transcriptionEngine);
    const auto* const found = std::ranges::find(offeredEngines, stored, &OfferedEngine::storedName);
    return found == offeredEngines.end() ? Engine::Other : found->engine;
}

void SettingsModel::selectEngine(Engine engine) {
    const auto* const found = std::ranges::find(offeredEngines, engine, &OfferedEngine::engine);
    if (found == offeredEngines.end())
        return;
    const std::string value(found->storedName);
    parts_.settings.set(keys::transcriptionEngine, value);
    parts_.appState->transcriptionManager->preferredEngine = transcription::preferenceAtStart(value);
    Q_EMIT changed();
}

QStringList SettingsModel::languages() {
    QStringList labels;
    for (const auto& each : ui::languages())
        labels.append(translated(each.label));
    return labels;
}

int SettingsModel::languageIndex() const {
    const auto all = ui::languages();
    const auto found = std::ranges::find(all, parts_.settings.bound(keys::language), &Language::code);
    return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

void SettingsModel::selectLanguage(int index) {
    const auto all = ui::languages();
    if (index < 0 || index >= std::ssize(all))
        return;
    parts_.settings.set(keys::language, all[static_cast<std::size_t>(index)].code);
    Q_EMIT changed();
}

void SettingsModel::recheckPermissions() {
    parts_.appState->startHotkeysIfReady();
}

QString SettingsModel::version() const {
    return toQString(parts_.version);
}

void SettingsModel::checkForUpdates() {
    if (updateState_ == UpdateState::Checking)
        return;
    setUpdate(UpdateState::Checking);
    updateTask_ = runtime::spawn(parts_.main, check(self_, &parts_.updater));
}

runtime::Task<> SettingsModel::check(std::weak_ptr<SettingsModel*> weakSelf, platform::Updater* updater) {
    const auto outcome = co_await updater->checkForUpdates();
    if (const auto self = weakSelf.lock())
        (*self)->take(outcome);
}

void SettingsModel::take(const platform::UpdateOutcome& outcome) {
    if (const auto* newer = std::get_if<platform::NewerVersion>(&outcome))
        newer->isPageOpened ? setUpdate(UpdateState::Newer, toQString(newer->version))
                            : setUpdate(UpdateState::NewerAt, toQString(newer->page));
    else if (const auto* failed = std::get_if<platform::UpdateCheckFailed>(&outcome))
        setUpdate(UpdateState::Failed, translated(failed->description));
    else
        setUpdate(UpdateState::UpToDate);
}

void SettingsModel::setUpdate(UpdateState state, const QString& detail) {
    updateState_ = state;
    updateDetail_ = detail;
    Q_EMIT updateChanged();
}

} // namespace sonvale::ui
