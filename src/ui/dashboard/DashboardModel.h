#pragma once

#include "base/Observed.h"
#include "ui/dashboard/DashboardParts.h"
#include "ui/home/HistoryModel.h"
#include "ui/hotkeys/HotkeySheetModel.h"
#include "ui/login/LoginModel.h"
#include "ui/onboarding/OnboardingModel.h"
#include "ui/scratchpad/ScratchpadModel.h"
#include "ui/settings/SettingsModel.h"
#include "ui/snippets/SnippetsModel.h"
#include "ui/style/StyleModel.h"
#include "ui/support/SupportChatModel.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// What the dashboard's window shows: the steps for a new user, then the way in, then the dashboard itself,
/// with a model for each of its tabs. It follows the controller while the window is open; main actor.
class DashboardModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(Content content READ content NOTIFY contentChanged)
    Q_PROPERTY(sonvale::ui::OnboardingModel* onboarding READ onboarding CONSTANT)
    Q_PROPERTY(sonvale::ui::LoginModel* login READ login CONSTANT)
    Q_PROPERTY(sonvale::ui::HistoryModel* history READ history CONSTANT)
    Q_PROPERTY(sonvale::ui::HotkeySheetModel* shortcuts READ shortcuts CONSTANT)
    Q_PROPERTY(sonvale::ui::SettingsModel* settings READ settings CONSTANT)
    Q_PROPERTY(sonvale::ui::SnippetsModel* snippets READ snippets CONSTANT)
    Q_PROPERTY(sonvale::ui::StyleModel* style READ style CONSTANT)
    Q_PROPERTY(sonvale::ui::ScratchpadModel* scratchpad READ scratchpad CONSTANT)
    Q_PROPERTY(bool isSignedIn READ isSignedIn NOTIFY contentChanged)
    Q_PROPERTY(bool isAccountNeeded READ isAccountNeeded CONSTANT)
    Q_PROPERTY(QString userEmail READ userEmail NOTIFY contentChanged)
    Q_PROPERTY(sonvale::ui::SupportChatModel* support READ support CONSTANT)

public:
    enum class Content { Onboarding, Login, Home };
    Q_ENUM(Content)

    explicit DashboardModel(DashboardParts parts);
    ~DashboardModel() override;

    /// Returns what the window shows. After the onboarding it is `Login` until there is a session, or until
    /// the user has chosen to continue without one.
    Content content() const;
    bool isSignedIn() const { return parts_.appState->authService->isAuthenticated.get(); }
    OnboardingModel* onboarding() { return &onboarding_; }
    LoginModel* login() { return &login_; }
    // The models of the tabs are made when they are first looked at.
    HistoryModel* history();
    HotkeySheetModel* shortcuts();
    SettingsModel* settings();
    SnippetsModel* snippets();
    StyleModel* style();
    ScratchpadModel* scratchpad();
    QString userEmail() const; ///< empty without a user's session
    Q_INVOKABLE void signOut();
    /// Whether dictation needs a session. Returns false for a build with a key for the service.
    bool isAccountNeeded() const { return !parts_.addresses.key; }
    /// Shows the tabs without a session, until the window closes or `askToSignIn` is called. Does nothing if
    /// an account is needed.
    Q_INVOKABLE void continueWithoutAccount();
    Q_INVOKABLE void askToSignIn();
    SupportChatModel* support();

    Q_SIGNAL void contentChanged();

private:
    void follow();

    std::function<void(std::string text)> copyText() const;

    const DashboardParts parts_;
    OnboardingModel onboarding_;
    LoginModel login_;
    std::unique_ptr<HistoryModel> history_;
    std::unique_ptr<HotkeySheetModel> shortcuts_;
    std::unique_ptr<SettingsModel> settings_;
    std::unique_ptr<SnippetsModel> snippets_;
    std::unique_ptr<StyleModel> style_;
    std::unique_ptr<ScratchpadModel> scratchpad_;
    std::unique_ptr<SupportChatModel> support_;
    bool isWithoutAccount_ = false;
    Content content_; ///< as notified last
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
