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

/// The content of the dashboard's window: the onboarding, then the sign-in, then the dashboard itself, with a
/// model for each of its tabs. It follows the controller while the window is open. Main actor.
class DashboardModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(Content content READ content NOTIFY contentChanged)
    Q_PROPERTY(sonvale::ui::OnboardingModel* onboarding READ onboarding CONSTANT)
    Q_PROPERTY(sonvale::ui::LoginModel* loginModel READ loginModel CONSTANT)
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
    enum class Content { Onboarding, SignIn, Home };
    Q_ENUM(Content)

    explicit DashboardModel(DashboardParts parts);
    ~DashboardModel() override;

    /// Returns the content of the window. After the onboarding it is `SignIn` until there is a session, or
    /// until the user chooses to continue without one.
    Content content() const;
    bool isSignedIn() const { return parts_.appState->authService->isAuthenticated.get(); }
    OnboardingModel* onboarding() { return &onboarding_; }
    LoginModel* loginModel() { return &loginModel_; }
    // The models of the tabs are created when the tabs are first shown.
    HistoryModel* history();
    HotkeySheetModel* shortcuts();
    SettingsModel* settings();
    SnippetsModel* snippets();
    StyleModel* style();
    ScratchpadModel* scratchpad();
    QString userEmail() const; ///< empty if no user is signed in
    Q_INVOKABLE void signOut();
    /// Returns whether dictation needs a session; false in a build with a key for the service.
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
    LoginModel loginModel_;
    std::unique_ptr<HistoryModel> history_;
    std::unique_ptr<HotkeySheetModel> shortcuts_;
    std::unique_ptr<SettingsModel> settings_;
    std::unique_ptr<SnippetsModel> snippets_;
    std::unique_ptr<StyleModel> style_;
    std::unique_ptr<ScratchpadModel> scratchpad_;
    std::unique_ptr<SupportChatModel> support_;
    bool isWithoutAccount_ = false;
    Content content_; ///< as last notified
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
