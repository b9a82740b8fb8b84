#pragma once

#include "base/Log.h"
#include "platform/RecordingState.h"
#include "platform/TrayHost.h"

#include <QRect>
#include <functional>
#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace sonvale::ui {

/// The program's place in the panel: an icon that shows the state. Pressing it opens the program's menu; some
/// panels open the context menu at every press instead. Main actor.
///
/// It appears as soon as there is a panel that takes it, which may be later than the program's start or
/// never; the program goes on without.
class TrayIcon {
public:
    /// What it leads to.
    struct Actions {
        /// With the icon's place on the screen, empty where the panel does not tell.
        std::function<void(const QRect& icon)> toggleMenu;
        /// There is no panel that takes the icon, so far.
        std::function<void()> noPanel;
    };

    /// `host` and `contextMenu` must outlive the icon. Begins to wait for a panel.
    TrayIcon(platform::TrayHost& host, QMenu& contextMenu, Actions actions);
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    void setState(platform::RecordingState state);

private:
    void appear();

    base::Logger logger_{"TrayIcon"};
    platform::TrayHost& host_;
    QMenu& contextMenu_;
    const Actions actions_;
    platform::RecordingState state_ = platform::RecordingState::idle;
    std::unique_ptr<QSystemTrayIcon> icon_; ///< made when there is a panel
};

} // namespace sonvale::ui
