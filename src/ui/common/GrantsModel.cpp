#include "ui/common/GrantsModel.h"

namespace sonvale::ui {

GrantsModel::GrantsModel(std::shared_ptr<core::AppState> appState)
    : appState_(std::move(appState)) {
    const auto changed = [this](bool) { Q_EMIT grantsChanged(); };
    auto& manager = permissions();
    for (auto* flag : {&manager.microphoneGranted, &manager.accessibilityGranted,
                       &manager.inputMonitoringGranted, &manager.speechRecognitionGranted})
        subscriptions_.push_back(flag->subscribe(changed));
}

} // namespace sonvale::ui
