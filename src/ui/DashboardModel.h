#pragma once

#include "base/Observed.h"
#include "core/AppState.h"
#include "persistence/Settings.h"
#include "ui/LoginModel.h"
#include "ui/OnboardingModel.h"

#include <QObject>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// What the dashboard's window shows: the steps for a new user, then the way in, then the dashboard itself.
/// It follows the controller while the window is open; main actor.
class DashboardModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString content READ content NOTIFY contentChanged)
    Q_PROPERTY(sonvale::ui::OnboardingModel* onboarding READ onboarding CONSTANT)
    Q_PROPERTY(sonvale::ui::LoginModel* login READ login CONSTANT)
    Q_PROPERTY(QString lastTranscription READ lastTranscription NOTIFY transcriptionChanged)

public:
    DashboardModel(runtime::Actor main, std::shared_ptr<core::AppState> appState,
                   persistence::Settings& settings);

    /// "onboarding", "login" or "home".
    QString content() const;
    OnboardingModel* onboarding() { return &onboarding_; }
    LoginModel* login() { return &login_; }
    QString lastTranscription() const;

    Q_SIGNAL void contentChanged();
    Q_SIGNAL void transcriptionChanged();

private:
    std::shared_ptr<core::AppState> appState_;
    OnboardingModel onboarding_;
    LoginModel login_;
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
