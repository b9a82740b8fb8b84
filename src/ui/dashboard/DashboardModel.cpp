#include "ui/dashboard/DashboardModel.h"

#include "ui/common/Texts.h"

#include <utility>

namespace sonvale::ui {

DashboardModel::DashboardModel(const core::Environment& environment, std::shared_ptr<core::AppState> appState)
    : environment_(environment)
    , appState_(std::move(appState))
    , onboarding_(appState_, environment_.settings)
    , login_(environment_.main, appState_->authService)
    , content_(content()) {
    const auto changed = [this](bool) { follow(); };
    subscriptions_.push_back(appState_->isOnboardingComplete.subscribe(changed));
    subscriptions_.push_back(appState_->authService->isAuthenticated.subscribe(changed));
}

DashboardModel::~DashboardModel() = default;

DashboardModel::Content DashboardModel::content() const {
    if (!appState_->isOnboardingComplete.get())
        return Content::Onboarding;
    return isSignedIn() || isWithoutAccount_ ? Content::Home : Content::Login;
}

void DashboardModel::follow() {
    if (isSignedIn())
        isWithoutAccount_ = false;
    const auto now = content();
    const auto former = std::exchange(content_, now);
    // Before the views change: each of them begins with an empty form, and none is left with a filled one.
    if (former != now && (former == Content::Login || now == Content::Login))
        login_.reset();
    Q_EMIT contentChanged();
    if (support_ && now != Content::Home)
        support_->forget();
}

void DashboardModel::continueWithoutAccount() {
    if (isAccountNeeded())
        return;
    isWithoutAccount_ = true;
    follow();
}

void DashboardModel::askToSignIn() {
    isWithoutAccount_ = false;
    follow();
}

SettingsModel* DashboardModel::settings() {
    if (!settings_)
        settings_ = std::make_unique<SettingsModel>(environment_, appState_);
    return settings_.get();
}

SnippetsModel* DashboardModel::snippets() {
    if (!snippets_)
        snippets_ = std::make_unique<SnippetsModel>(environment_, appState_);
    return snippets_.get();
}

StyleModel* DashboardModel::style() {
    if (!style_)
        style_ = std::make_unique<StyleModel>(environment_, appState_);
    return style_.get();
}

ScratchpadModel* DashboardModel::scratchpad() {
    if (!scratchpad_)
        scratchpad_ = std::make_unique<ScratchpadModel>(environment_, appState_);
    return scratchpad_.get();
}

QString DashboardModel::userEmail() const {
    return textOf(appState_->authService->currentUserEmail.get().value_or(""));
}

void DashboardModel::signOut() {
    appState_->authService->signOut();
}

HistoryModel* DashboardModel::history() {
    if (!history_)
        history_ = std::make_unique<HistoryModel>(environment_, appState_);
    return history_.get();
}

HotkeySheetModel* DashboardModel::shortcuts() {
    if (!shortcuts_)
        shortcuts_ = std::make_unique<HotkeySheetModel>(
            environment_.settings, environment_.nativeKeys,
            [appState = appState_](const hotkeys::HotkeyBindings&) { appState->applyHotkeyBindings(); });
    return shortcuts_.get();
}

SupportChatModel* DashboardModel::support() {
    if (!support_)
        support_ = std::make_unique<SupportChatModel>(environment_, appState_);
    return support_.get();
}

} // namespace sonvale::ui
