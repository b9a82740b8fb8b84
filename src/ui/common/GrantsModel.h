#pragma once

#include "base/Observed.h"
#include "core/AppState.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// What a view that shows the four grants sees of them; it follows them. Main actor.
class GrantsModel : public QObject {
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(bool microphoneGranted READ microphoneGranted NOTIFY grantsChanged)
    Q_PROPERTY(bool accessibilityGranted READ accessibilityGranted NOTIFY grantsChanged)
    Q_PROPERTY(bool inputMonitoringGranted READ inputMonitoringGranted NOTIFY grantsChanged)
    Q_PROPERTY(bool speechRecognitionGranted READ speechRecognitionGranted NOTIFY grantsChanged)

public:
    bool microphoneGranted() const { return permissions().microphoneGranted.get(); }
    bool accessibilityGranted() const { return permissions().accessibilityGranted.get(); }
    bool inputMonitoringGranted() const { return permissions().inputMonitoringGranted.get(); }
    bool speechRecognitionGranted() const { return permissions().speechRecognitionGranted.get(); }

    Q_SIGNAL void grantsChanged();

protected:
    explicit GrantsModel(std::shared_ptr<core::AppState> appState);

    core::AppState& appState() const { return *appState_; }
    services::PermissionsManager& permissions() const { return *appState_->permissionsManager; }

private:
    const std::shared_ptr<core::AppState> appState_;
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
