#pragma once

#include "base/Observed.h"
#include "services/PermissionsManager.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QAbstractListModel>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// The four permissions in the order in which views show them. The model follows the manager. Main actor.
class PermissionsModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The dashboard's model makes it.")
    Q_PROPERTY(bool isSpeechRecognitionGranted READ isSpeechRecognitionGranted NOTIFY changed)

public:
    enum class Permission { Microphone, Accessibility, InputMonitoring, SpeechRecognition };
    Q_ENUM(Permission)

    /// `permissionRole` is a `Permission`, `nameRole` its name in this enumeration, and `labelRole` its name
    /// for the user.
    enum Role { permissionRole = Qt::UserRole, nameRole, labelRole, isGrantedRole };

    explicit PermissionsModel(std::shared_ptr<services::PermissionsManager> manager);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool isGranted(Permission permission) const;
    bool isSpeechRecognitionGranted() const { return isGranted(Permission::SpeechRecognition); }

    /// Asks the user for the permission, and then checks for a minute whether it is granted.
    Q_INVOKABLE void request(sonvale::ui::PermissionsModel::Permission permission);
    /// Checks once whether the permission is granted.
    void check(Permission permission);
    /// Checks all four permissions once, and does not wait for the sound server.
    void checkAllLater();
    /// Checks all four permissions once.
    Q_INVOKABLE void checkAll();

    Q_SIGNAL void changed();

private:
    const std::shared_ptr<services::PermissionsManager> manager_;
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
