#pragma once

#include "persistence/Settings.h"
#include "ui/common/GrantsModel.h"
#include "ui/onboarding/OnboardingStep.h"

namespace sonvale::ui {

/// Leads a new user through the four grants and the tour. The step is stored at every change, because giving
/// a grant can make the user start the program again. Main actor.
class OnboardingModel final : public GrantsModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(int step READ step NOTIFY stepChanged)
    Q_PROPERTY(QString stepName READ stepName NOTIFY stepChanged)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY stepChanged)
    Q_PROPERTY(bool canSkip READ canSkip NOTIFY stepChanged)
    Q_PROPERTY(bool isLast READ isLast NOTIFY stepChanged)
    Q_PROPERTY(QString shortcutLabel READ shortcutLabel CONSTANT)

public:
    /// Begins at the stored step. `settings` must outlive the model.
    OnboardingModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings);

    int step() const { return static_cast<int>(step_); }
    QString stepName() const;
    bool canGoBack() const { return step_ != OnboardingStep::welcome; }
    bool canSkip() const { return ui::canSkip(step_); }
    bool isLast() const { return step_ == lastOnboardingStep; }
    /// What starts a dictation, as it is written.
    QString shortcutLabel() const;

    /// Nothing on the first step.
    Q_INVOKABLE void goBack();
    /// To the next step; on the last one onboarding ends.
    Q_INVOKABLE void goOn();
    /// Over the rest of the tour.
    Q_INVOKABLE void skip();
    /// Asks for what the step is about, and looks for the answer for a minute.
    Q_INVOKABLE void ask();
    /// Looks once whether what the step is about has been granted.
    Q_INVOKABLE void check();

    Q_SIGNAL void stepChanged();

private:
    void moveTo(OnboardingStep step);

    persistence::Settings& settings_;
    OnboardingStep step_;
};

} // namespace sonvale::ui
