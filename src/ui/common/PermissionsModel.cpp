#include "ui/common/PermissionsModel.h"

#include "ui/common/Texts.h"

#include <QMetaEnum>
#include <array>
#include <utility>

namespace sonvale::ui {

namespace {

using services::PermissionsManager;
using Permission = PermissionsModel::Permission;

struct Row {
    Permission permission;
    const char* label;
    base::Observed<bool> PermissionsManager::* isGranted;
    void (*request)(PermissionsManager& manager);
    void (PermissionsManager::*check)();
};

void requestAccessibility(PermissionsManager& manager) {
    manager.requestAccessibilityPrompt();
    manager.pollAccessibility();
}

constexpr std::array rows{
    Row{Permission::Microphone, QT_TRANSLATE_NOOP("Texts", "Microphone"),
        &PermissionsManager::microphoneGranted,
        [](PermissionsManager& manager) { manager.requestMicrophoneWithPolling(); },
        &PermissionsManager::checkMicrophoneLater},
    Row{Permission::Accessibility, QT_TRANSLATE_NOOP("Texts", "Accessibility"),
        &PermissionsManager::accessibilityGranted, requestAccessibility,
        &PermissionsManager::checkAccessibility},
    Row{Permission::InputMonitoring, QT_TRANSLATE_NOOP("Texts", "Input Monitoring"),
        &PermissionsManager::inputMonitoringGranted,
        [](PermissionsManager& manager) { manager.openInputMonitoringAndPoll(); },
        &PermissionsManager::checkInputMonitoring},
    Row{Permission::SpeechRecognition, QT_TRANSLATE_NOOP("Texts", "Speech Recognition"),
        &PermissionsManager::speechRecognitionGranted,
        [](PermissionsManager& manager) { manager.requestSpeechRecognitionWithPolling(); },
        &PermissionsManager::checkSpeechRecognition},
};

const Row& rowOf(Permission permission) {
    return rows.at(static_cast<std::size_t>(permission));
}

} // namespace

PermissionsModel::PermissionsModel(std::shared_ptr<PermissionsManager> manager)
    : manager_(std::move(manager)) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto follow = [this, place = static_cast<int>(i)](bool) {
            Q_EMIT dataChanged(index(place), index(place), {isGrantedRole});
            Q_EMIT changed();
        };
        subscriptions_.push_back((manager_.get()->*rows[i].isGranted).subscribe(follow));
    }
}

int PermissionsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

QVariant PermissionsModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& row = rows.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case permissionRole:
        return QVariant::fromValue(row.permission);
    case nameRole:
        return QString::fromLatin1(
            QMetaEnum::fromType<Permission>().valueToKey(static_cast<int>(row.permission)));
    case labelRole:
        return translated(row.label);
    case isGrantedRole:
        return isGranted(row.permission);
    default:
        return {};
    }
}

QHash<int, QByteArray> PermissionsModel::roleNames() const {
    return {{permissionRole, "permission"},
            {nameRole, "name"},
            {labelRole, "label"},
            {isGrantedRole, "isGranted"}};
}

bool PermissionsModel::isGranted(Permission permission) const {
    return (manager_.get()->*rowOf(permission).isGranted).get();
}

void PermissionsModel::request(Permission permission) {
    rowOf(permission).request(*manager_);
}

void PermissionsModel::check(Permission permission) {
    (manager_.get()->*rowOf(permission).check)();
}

void PermissionsModel::checkAllLater() {
    manager_->refreshLater();
}

void PermissionsModel::checkAll() {
    manager_->refresh();
}

} // namespace sonvale::ui
