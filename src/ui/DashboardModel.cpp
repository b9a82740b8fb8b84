#include "ui/DashboardModel.h"

#include "ui/Texts.h"

namespace sonvale::ui {

DashboardModel::DashboardModel(runtime::Actor main, std::shared_ptr<core::AppState> appState,
                               persistence::Settings& settings)
    : appState_(std::move(appState))
    , onboarding_(appState_, settings)
    , login_(std::move(main), appState_->authService) {
    const auto changed = [this](bool) { Q_EMIT contentChanged(); };
    subscriptions_.push_back(appState_->isOnboardingComplete.subscribe(changed));
    subscriptions_.push_back(appState_->authService->isAuthenticated.subscribe(changed));
    subscriptions_.push_back(appState_->lastTranscription.subscribe(
        [this](const std::string&) { Q_EMIT transcriptionChanged(); }));
}

QString DashboardModel::content() const {
    if (!appState_->isOnboardingComplete.get())
        return QStringLiteral("onboarding");
    return appState_->isModelReachable() ? QStringLiteral("home") : QStringLiteral("login");
}

QString DashboardModel::lastTranscription() const {
    return textOf(appState_->lastTranscription.get());
}

} // namespace sonvale::ui
