#pragma once

#include "core/Environment.h"
#include "runtime/Task.h"
#include "ui/common/GrantsModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QVariantList>
#include <memory>

namespace sonvale::ui {

/// The settings, as their tab shows and changes them. Each change is stored at once, and takes effect at
/// once. Main actor.
class SettingsModel final : public GrantsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(bool soundEffects READ soundEffects WRITE setSoundEffects NOTIFY changed)
    Q_PROPERTY(bool pauseAudioDuringDictation READ pauseAudioDuringDictation WRITE
                   setPauseAudioDuringDictation NOTIFY changed)
    Q_PROPERTY(bool showInDock READ showInDock WRITE setShowInDock NOTIFY changed)
    Q_PROPERTY(
        bool guardModifierHotkeys READ guardModifierHotkeys WRITE setGuardModifierHotkeys NOTIFY changed)
    Q_PROPERTY(bool textCleanup READ textCleanup WRITE setTextCleanup NOTIFY changed)
    Q_PROPERTY(bool privacyMode READ privacyMode WRITE setPrivacyMode NOTIFY changed)
    Q_PROPERTY(bool localOnlyMode READ localOnlyMode WRITE setLocalOnlyMode NOTIFY changed)
    Q_PROPERTY(QString transcriptionEngine READ transcriptionEngine NOTIFY changed)
    Q_PROPERTY(QVariantList languages READ languages CONSTANT)
    Q_PROPERTY(int languageIndex READ languageIndex NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString updateState READ updateState NOTIFY updateChanged)
    Q_PROPERTY(QString updateDetail READ updateDetail NOTIFY updateChanged)

public:
    /// Takes over whether the program starts at login, which other tools change too. Everything that the
    /// environment refers to must outlive the model.
    SettingsModel(const core::Environment& environment, std::shared_ptr<core::AppState> appState);
    ~SettingsModel() override;

    bool launchAtLogin() const;
    void setLaunchAtLogin(bool isOn);
    bool soundEffects() const;
    void setSoundEffects(bool isOn);
    bool pauseAudioDuringDictation() const;
    void setPauseAudioDuringDictation(bool isOn);
    bool showInDock() const;
    void setShowInDock(bool isOn);
    bool guardModifierHotkeys() const;
    void setGuardModifierHotkeys(bool isOn);
    bool textCleanup() const;
    void setTextCleanup(bool isOn);
    bool privacyMode() const;
    void setPrivacyMode(bool isOn);
    bool localOnlyMode() const;
    void setLocalOnlyMode(bool isOn);

    /// As it is stored: also "cloud", or a word of a later version.
    QString transcriptionEngine() const;
    /// "streaming", "hybrid" or "local".
    Q_INVOKABLE void selectEngine(const QString& rawValue);

    static QVariantList languages(); ///< their labels, in order
    int languageIndex() const;       ///< of the stored one; -1 for one that is not offered
    Q_INVOKABLE void selectLanguage(int index);

    Q_INVOKABLE void grantMicrophone();
    Q_INVOKABLE void grantAccessibility();
    Q_INVOKABLE void grantInputMonitoring();
    Q_INVOKABLE void grantSpeechRecognition();
    /// Reads the four permissions again, as the page does when it appears.
    Q_INVOKABLE void checkPermissions();
    /// Looks at all four grants, and starts the shortcuts when they allow it.
    Q_INVOKABLE void recheckPermissions();

    QString version() const;
    /// "", then "checking", then "upToDate", "newer", "newerAt" (when its page could not be opened) or
    /// "failed".
    QString updateState() const { return updateState_; }
    /// The newer version's number, its page, or why nothing is known; otherwise empty.
    QString updateDetail() const { return updateDetail_; }
    /// Nothing while a check runs.
    Q_INVOKABLE void checkForUpdates();

    /// For whatever else may have changed a setting meanwhile.
    Q_INVOKABLE void refresh();

    Q_SIGNAL void changed();
    Q_SIGNAL void updateChanged();

private:
    void set(const persistence::SettingKey<bool>& key, bool isOn);
    void takeOverLoginItem();
    void setUpdate(const QString& state, const QString& detail = {});
    void take(const platform::UpdateOutcome& outcome);
    static runtime::Task<> check(std::weak_ptr<SettingsModel*> weakSelf, platform::Updater* updater);

    const core::Environment environment_;
    QString updateState_;
    QString updateDetail_;
    std::shared_ptr<SettingsModel*> self_ = std::make_shared<SettingsModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> updateTask_;
};

} // namespace sonvale::ui
