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

/// The program's icon in the panel, which shows the state. A click opens the program's menu; some panels open
/// the context menu for every click instead. Main actor.
///
/// The icon appears when a panel accepts it, which may be long after the start or never. The program also
/// runs without it.
class TrayIcon {
public:
    /// The functions that the icon calls.
    struct Actions {
        /// Called with the icon's place on the screen, which is empty if the panel does not report it.
        std::function<void(const QRect& icon)> toggleMenu;
        /// Called if no panel has accepted the icon so far.
        std::function<void()> noPanel;
    };

    /// Starts to wait for a panel. `host` and `contextMenu` must outlive the icon.
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
    std::unique_ptr<QSystemTrayIcon> icon_; ///< null until there is a panel
};

} // namespace sonvale::ui
