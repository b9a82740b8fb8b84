#pragma once

#include "core/AppState.h"
#include "persistence/Settings.h"
#include "platform/Application.h"
#include "platform/LoginItem.h"
#include "platform/Updater.h"
#include "ui/common/PermissionsModel.h"
#include "ui/settings/TranscriptionSettingsModel.h"
#include "ui/settings/UpdateModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>

namespace sonvale::ui {

/// The settings. Each change is stored at once and takes effect at once. Main actor.
class SettingsModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(sonvale::ui::PermissionsModel* permissions READ permissions CONSTANT)
    Q_PROPERTY(sonvale::ui::TranscriptionSettingsModel* transcription READ transcription CONSTANT)
    Q_PROPERTY(sonvale::ui::UpdateModel* updates READ updates CONSTANT)
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

public:
    /// The objects that the model uses. All references must outlive it.
    struct Parts {
        runtime::Actor main;
        persistence::Settings& settings;
        platform::Application& application;
        platform::LoginItem& loginItem;
        platform::Updater& updater;
        std::string version; ///< the version of this program
        std::shared_ptr<core::AppState> appState;
    };

    /// Reads whether the program starts at login, which other programs change too.
    explicit SettingsModel(Parts parts);

    PermissionsModel* permissions() { return &permissions_; }
    TranscriptionSettingsModel* transcription() { return &transcription_; }
    UpdateModel* updates() { return &updates_; }

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

    /// Checks all four permissions, and starts the hotkeys if they allow it.
    Q_INVOKABLE void recheckPermissions();

    /// Reads the settings again: another program may have changed them.
    Q_INVOKABLE void refresh();

    Q_SIGNAL void changed();

private:
    void set(const persistence::SettingKey<bool>& key, bool isOn);
    void takeOverLoginItem();

    const Parts parts_;
    PermissionsModel permissions_;
    TranscriptionSettingsModel transcription_;
    UpdateModel updates_;
};

} // namespace sonvale::ui
