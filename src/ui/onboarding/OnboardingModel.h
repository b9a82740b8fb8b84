#pragma once

#include "core/AppState.h"
#include "persistence/Settings.h"
#include "ui/common/PermissionsModel.h"
#include "ui/onboarding/OnboardingStep.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <optional>

namespace sonvale::ui {

/// Leads a new user through the four permissions and the tour. Each change of the step is stored, because
/// granting a permission can make the user restart the program. Main actor.
class OnboardingModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The dashboard's model makes it.")
    Q_PROPERTY(sonvale::ui::PermissionsModel* permissions READ permissions CONSTANT)
    Q_PROPERTY(sonvale::ui::onboarding::Step step READ step NOTIFY changed)
    Q_PROPERTY(bool isPermissionStep READ isPermissionStep NOTIFY changed)
    Q_PROPERTY(bool isGranted READ isGranted NOTIFY changed)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
    Q_PROPERTY(bool canSkip READ canSkip NOTIFY changed)
    Q_PROPERTY(bool isLast READ isLast NOTIFY changed)
    Q_PROPERTY(QString shortcutLabel READ shortcutLabel CONSTANT)

public:
    /// Starts at the stored step. `settings` must outlive the model.
    OnboardingModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings);

    PermissionsModel* permissions() { return &permissions_; }
    OnboardingStep step() const { return step_; }
    /// Returns whether the step asks for a permission.
    bool isPermissionStep() const;
    /// Returns whether the permission of the step is granted; false on a step without one.
    bool isGranted() const;
    bool canGoBack() const { return step_ != OnboardingStep::Welcome; }
    bool canSkip() const { return ui::canSkip(step_); }
    bool isLast() const { return step_ == lastOnboardingStep; }
    /// Returns the name of the shortcut that starts a dictation.
    QString shortcutLabel() const;

    /// Does nothing on the first step.
    Q_INVOKABLE void goBack();
    /// Goes to the next step. On the last step, completes the onboarding.
    Q_INVOKABLE void goOn();
    /// Skips the rest of the tour.
    Q_INVOKABLE void skip();
    /// Asks for the permission of the step, and checks for a minute whether it is granted.
    Q_INVOKABLE void ask();
    /// Checks once whether the permission of the step is granted.
    Q_INVOKABLE void check();

    Q_SIGNAL void changed();
    /// Emitted after `changed` if the step has changed.
    Q_SIGNAL void stepChanged();

private:
    std::optional<PermissionsModel::Permission> permission() const;
    void moveTo(OnboardingStep step);

    const std::shared_ptr<core::AppState> appState_;
    persistence::Settings& settings_;
    PermissionsModel permissions_;
    OnboardingStep step_;
};

} // namespace sonvale::ui
