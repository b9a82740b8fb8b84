#pragma once

#include "tests/support/PrivateBus.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A panel for StatusNotifierItems: the watcher and its only host.
class StatusNotifierPanel : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost CONSTANT)

public:
    struct MenuLine {
        int id = 0;
        std::string label;
        bool isEnabled = true;
        bool isSeparator = false;
        bool isVisible = true;
        bool isChecked = false;
        std::vector<MenuLine> submenu;
    };

    explicit StatusNotifierPanel(const PrivateBus& bus);
    ~StatusNotifierPanel() override;

    int itemCount() const { return static_cast<int>(items_.size()); }
    /// Returns the color (ARGB) near the middle of the top edge of the first item's 32-pixel picture.
    std::uint32_t iconGround();
    /// Returns the visible lines of the first item's menu. First announces that the menu will be shown, as
    /// panels do.
    std::vector<MenuLine> menu();
    void choose(int id);
    /// Clicks the first item's icon.
    void activate();

    bool hasHost() const { return true; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service);

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString& service);
    void StatusNotifierHostRegistered();

private:
    QVariant property(const QString& name);

    QDBusConnection bus_;
    QStringList items_;
};

} // namespace sonvale::tests
