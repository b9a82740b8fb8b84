#pragma once

#include "base/Log.h"
#include "platform/RecordingState.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <QMenu>
#include <QRect>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSystemTrayIcon;

namespace sonvale::ui {

class TrayHost;

/// The program's place in the panel: an icon that shows the state. Pressing it opens the program's menu; its
/// context menu, which some panels open at every press, has the state in words, the error line while there is
/// one, the way to the dashboard, and the way out. Main actor.
///
/// It appears as soon as there is a panel that takes it, which may be later than the program's start or
/// never; the program goes on without.
class TrayIcon {
public:
    /// What it leads to.
    struct Actions {
        /// With the icon's place on the screen, empty where the panel does not tell.
        std::function<void(const QRect& icon)> toggleMenu;
        std::function<void()> openDashboard;
        std::function<void()> quit;
        /// There is no panel that takes the icon, so far.
        std::function<void()> noPanel;
    };

    /// `clock` must outlive the icon.
    TrayIcon(const runtime::Actor& mainActor, runtime::Clock& clock, Actions actions);
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    void setState(platform::RecordingState state);
    void setErrorMessage(std::optional<std::string> message);

    /// The context menu.
    QMenu& menu() { return menu_; }

private:
    void appear();

    base::Logger logger_{"TrayIcon"};
    const Actions actions_;
    platform::RecordingState state_ = platform::RecordingState::idle;
    QMenu menu_;
    QAction* status_ = nullptr;
    QAction* error_ = nullptr;
    std::unique_ptr<TrayHost> host_;
    std::unique_ptr<QSystemTrayIcon> icon_; ///< made when there is a host
};

} // namespace sonvale::ui
