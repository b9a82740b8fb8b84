#include "ui/settings/SettingsModel.h"

#include "base/Log.h"
#include "persistence/SettingsKeys.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "ui/common/Languages.h"
#include "ui/common/Texts.h"

#include <algorithm>

namespace sonvale::ui {

namespace keys = persistence::keys;

SettingsModel::SettingsModel(const core::Environment& environment, std::shared_ptr<core::AppState> appState)
    : GrantsModel(std::move(appState))
    , environment_(environment) {
    takeOverLoginItem();
}

SettingsModel::~SettingsModel() {
    updateTask_.cancel();
}

void SettingsModel::set(const persistence::SettingKey<bool>& key, bool isOn) {
    environment_.settings.set(key, isOn);
    Q_EMIT changed();
}

void SettingsModel::takeOverLoginItem() {
    environment_.settings.set(keys::launchAtLogin, environment_.loginItem.isEnabled());
}

void SettingsModel::refresh() {
    takeOverLoginItem();
    Q_EMIT changed();
}

bool SettingsModel::launchAtLogin() const {
    return environment_.settings.bound(keys::launchAtLogin);
}

void SettingsModel::setLaunchAtLogin(bool isOn) {
    set(keys::launchAtLogin, isOn);
    try {
        if (isOn)
            environment_.loginItem.registerItem();
        else
            environment_.loginItem.unregisterItem();
    } catch (const platform::LoginItemError& error) {
        // The switch stays as the user left it; the next look at the settings shows how it is.
        static const base::Logger logger("Settings");
        logger.error("launch at login: {}", error.what());
    }
}

bool SettingsModel::soundEffects() const {
    return environment_.settings.bound(keys::soundEffectsEnabled);
}

void SettingsModel::setSoundEffects(bool isOn) {
    set(keys::soundEffectsEnabled, isOn);
}

bool SettingsModel::pauseAudioDuringDictation() const {
    return environment_.settings.bound(keys::pauseAudioDuringDictation);
}

void SettingsModel::setPauseAudioDuringDictation(bool isOn) {
    set(keys::pauseAudioDuringDictation, isOn);
}

bool SettingsModel::showInDock() const {
    return environment_.settings.bound(keys::showInDock);
}

void SettingsModel::setShowInDock(bool isOn) {
    set(keys::showInDock, isOn);
    environment_.application.setActivationPolicy(isOn ? platform::ActivationPolicy::regular
                                                      : platform::ActivationPolicy::accessory);
}

bool SettingsModel::guardModifierHotkeys() const {
    return appState().isModifierGuardOn();
}

void SettingsModel::setGuardModifierHotkeys(bool isOn) {
    appState().setModifierGuard(isOn);
    Q_EMIT changed();
}

bool SettingsModel::textCleanup() const {
    return environment_.settings.bound(keys::aiProcessingEnabled);
}

void SettingsModel::setTextCleanup(bool isOn) {
    set(keys::aiProcessingEnabled, isOn);
}

bool SettingsModel::privacyMode() const {
    return environment_.settings.bound(keys::privacyModeEnabled);
}

void SettingsModel::setPrivacyMode(bool isOn) {
    set(keys::privacyModeEnabled, isOn);
}

bool SettingsModel::localOnlyMode() const {
    return environment_.settings.bound(keys::localOnlyMode);
}

void SettingsModel::setLocalOnlyMode(bool isOn) {
    // Twice the same would make the on-device engine the one to go back to.
    if (isOn == localOnlyMode())
        return;
    environment_.settings.set(keys::localOnlyMode, isOn);
    appState().setLocalOnlyMode(isOn);
    Q_EMIT changed();
}

QString SettingsModel::transcriptionEngine() const {
    return textOf(environment_.settings.bound(keys::transcriptionEngine));
}

void SettingsModel::selectEngine(const QString& rawValue) {
    const auto value = rawValue.toStdString();
    environment_.settings.set(keys::transcriptionEngine, value);
    appState().transcriptionManager->preferredEngine = transcription::preferenceAtStart(value);
    Q_EMIT changed();
}

QVariantList SettingsModel::languages() {
    QVariantList labels;
    for (const auto& each : ui::languages())
        labels.append(translated(each.label));
    return labels;
}

int SettingsModel::languageIndex() const {
    const auto all = ui::languages();
    const auto found = std::ranges::find(all, environment_.settings.bound(keys::language), &Language::code);
    return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

void SettingsModel::selectLanguage(int index) {
    const auto all = ui::languages();
    if (index < 0 || index >= std::ssize(all))
        return;
    environment_.settings.set(keys::language, all[static_cast<std::size_t>(index)].code);
    Q_EMIT changed();
}

void SettingsModel::grantMicrophone() {
    permissions().requestMicrophoneWithPolling();
}

void SettingsModel::grantAccessibility() {
    permissions().requestAccessibilityPrompt();
    permissions().pollAccessibility();
}

void SettingsModel::grantInputMonitoring() {
    permissions().openInputMonitoringAndPoll();
}

void SettingsModel::grantSpeechRecognition() {
    permissions().requestSpeechRecognitionWithPolling();
}

void SettingsModel::checkPermissions() {
    permissions().refresh();
}

void SettingsModel::recheckPermissions() {
    appState().startHotkeysIfReady();
}

QString SettingsModel::version() const {
    return textOf(environment_.version);
}

void SettingsModel::checkForUpdates() {
    if (updateState_ == QLatin1String("checking"))
        return;
    setUpdate(QStringLiteral("checking"));
    updateTask_ = runtime::spawn(environment_.main, check(self_, &environment_.updater));
}

runtime::Task<> SettingsModel::check(std::weak_ptr<SettingsModel*> weakSelf, platform::Updater* updater) {
    const auto outcome = co_await updater->checkForUpdates();
    if (const auto self = weakSelf.lock())
        (*self)->take(outcome);
}

void SettingsModel::take(const platform::UpdateOutcome& outcome) {
    if (const auto* newer = std::get_if<platform::NewerVersion>(&outcome))
        newer->isPageOpened ? setUpdate(QStringLiteral("newer"), textOf(newer->version))
                            : setUpdate(QStringLiteral("newerAt"), textOf(newer->page));
    else if (const auto* failed = std::get_if<platform::UpdateCheckFailed>(&outcome))
        setUpdate(QStringLiteral("failed"), translated(failed->description));
    else
        setUpdate(QStringLiteral("upToDate"));
}

void SettingsModel::setUpdate(const QString& state, const QString& detail) {
    updateState_ = state;
    updateDetail_ = detail;
    Q_EMIT updateChanged();
}

} // namespace sonvale::ui
