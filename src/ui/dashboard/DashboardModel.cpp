#include "ui/dashboard/DashboardModel.h"

#include "ui/common/Texts.h"

#include <utility>

namespace sonvale::ui {

DashboardModel::DashboardModel(DashboardParts parts)
    : parts_(std::move(parts))
    , onboarding_(parts_.appState, parts_.settings)
    , loginModel_(parts_.main, parts_.appState->authService)
    , content_(content()) {
    const auto changed = [this](bool) { follow(); };
    subscriptions_.push_back(parts_.appState->isOnboardingComplete.subscribe(changed));
    subscriptions_.push_back(parts_.appState->authService->isAuthenticated.subscribe(changed));
}

DashboardModel::~DashboardModel() = default;

std::function<void(std::string)> DashboardModel::copyText() const {
    return [appState = parts_.appState](std::string text) { appState->copyText(std::move(text)); };
}

DashboardModel::Content DashboardModel::content() const {
    if (!parts_.appState->isOnboardingComplete.get())
        return Content::Onboarding;
    return isSignedIn() || isWithoutAccount_ ? Content::Home : Content::SignIn;
}

void DashboardModel::follow() {
    if (isSignedIn())
        isWithoutAccount_ = false;
    const auto now = content();
    const auto former = std::exchange(content_, now);
    // The form is reset before the views change, so that each view begins with an empty form and a filled one
    // is never kept.
    if (former != now && (former == Content::SignIn || now == Content::SignIn))
        loginModel_.reset();
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
        settings_ = std::make_unique<SettingsModel>(SettingsModel::Parts{.main = parts_.main,
                                                                         .settings = parts_.settings,
                                                                         .application = parts_.application,
                                                                         .loginItem = parts_.loginItem,
                                                                         .updater = parts_.updater,
                                                                         .version = parts_.version,
                                                                         .appState = parts_.appState});
    return settings_.get();
}

SnippetsModel* DashboardModel::snippets() {
    if (!snippets_)
        snippets_ = std::make_unique<SnippetsModel>(parts_.main, parts_.clock, RecordStore(parts_.appState));
    return snippets_.get();
}

StyleModel* DashboardModel::style() {
    if (!style_)
        style_ = std::make_unique<StyleModel>(parts_.main, parts_.clock, RecordStore(parts_.appState));
    return style_.get();
}

ScratchpadModel* DashboardModel::scratchpad() {
    if (!scratchpad_)
        scratchpad_ =
            std::make_unique<ScratchpadModel>(parts_.main, parts_.clock, parts_.settings, copyText());
    return scratchpad_.get();
}

QString DashboardModel::userEmail() const {
    return toQString(parts_.appState->authService->currentUserEmail.get().value_or(""));
}

void DashboardModel::signOut() {
    parts_.appState->authService->signOut();
}

HistoryModel* DashboardModel::history() {
    if (!history_)
        history_ = std::make_unique<HistoryModel>(HistoryModel::Parts{.main = parts_.main,
                                                                      .clock = parts_.clock,
                                                                      .workspace = parts_.workspace,
                                                                      .dateLocale = parts_.dateLocale,
                                                                      .records = RecordStore(parts_.appState),
                                                                      .copyText = copyText()});
    return history_.get();
}

HotkeySheetModel* DashboardModel::shortcuts() {
    if (!shortcuts_)
        shortcuts_ = std::make_unique<HotkeySheetModel>(
            parts_.settings, parts_.nativeKeys, [appState = parts_.appState](const hotkeys::HotkeyBindings&) {
                appState->applyHotkeyBindings();
            });
    return shortcuts_.get();
}

SupportChatModel* DashboardModel::support() {
    if (!support_)
        support_ = std::make_unique<SupportChatModel>(
            services::SupportChatViewModel::Parts{.main = parts_.main,
                                                  .clock = parts_.clock,
                                                  .urlSessions = parts_.urlSessions,
                                                  .addresses = parts_.addresses},
            parts_.appState->authService, copyText());
    return support_.get();
}

} // namespace sonvale::ui
