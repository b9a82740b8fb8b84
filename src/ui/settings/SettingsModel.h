#pragma once

#include "core/AppState.h"
#include "persistence/Settings.h"
#include "platform/Application.h"
#include "platform/LoginItem.h"
#include "platform/Updater.h"
#include "runtime/Task.h"
#include "ui/common/PermissionsModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QStringList>
#include <memory>

namespace sonvale::ui {

/// The settings. Each change is stored at once and takes effect at once. Main actor.
class SettingsModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(sonvale::ui::PermissionsModel* permissions READ permissions CONSTANT)
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
    Q_PROPERTY(Engine engine READ engine NOTIFY changed)
    Q_PROPERTY(QStringList languages READ languages CONSTANT)
    Q_PROPERTY(int languageIndex READ languageIndex NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(UpdateState updateState READ updateState NOTIFY updateChanged)
    Q_PROPERTY(QString updateDetail READ updateDetail NOTIFY updateChanged)

public:
    /// The engines that are offered. `Other` stands for a stored one that is not.
    enum class Engine { Other, Streaming, Hybrid, Local };
    Q_ENUM(Engine)

    /// `NewerAt` means that the page of the newer version could not be opened.
    enum class UpdateState { Unknown, Checking, UpToDate, Newer, NewerAt, Failed };
    Q_ENUM(UpdateState)

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
    ~SettingsModel() override;

    PermissionsModel* permissions() { return &permissions_; }

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

    Engine engine() const;
    /// Ignores `Other`.
    Q_INVOKABLE void selectEngine(sonvale::ui::SettingsModel::Engine engine);

    /// Returns the labels of the languages, in their order.
    static QStringList languages();
    /// Returns the index of the stored language; -1 if it is not offered.
    int languageIndex() const;
    Q_INVOKABLE void selectLanguage(int index);

    /// Checks all four permissions, and starts the hotkeys if they allow it.
    Q_INVOKABLE void recheckPermissions();

    QString version() const;
    UpdateState updateState() const { return updateState_; }
    /// Returns the number of the newer version (`Newer`), its page (`NewerAt`), the reason (`Failed`), or
    /// nothing.
    QString updateDetail() const { return updateDetail_; }
    /// Starts to look for a newer version. A running check goes on, and no second one starts.
    Q_INVOKABLE void checkForUpdates();

    /// Reads the settings again: another program may have changed them.
    Q_INVOKABLE void refresh();

    Q_SIGNAL void changed();
    Q_SIGNAL void updateChanged();

private:
    void set(const persistence::SettingKey<bool>& key, bool isOn);
    void takeOverLoginItem();
    void setUpdate(UpdateState state, const QString& detail = {});
    void take(const platform::UpdateOutcome& outcome);
    static runtime::Task<> check(std::weak_ptr<SettingsModel*> weakSelf, platform::Updater* updater);

    const Parts parts_;
    PermissionsModel permissions_;
    UpdateState updateState_ = UpdateState::Unknown;
    QString updateDetail_;
    std::shared_ptr<SettingsModel*> self_ = std::make_shared<SettingsModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> updateTask_;
};

} // namespace sonvale::ui
