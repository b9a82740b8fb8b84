#pragma once

#include "base/Log.h"
#include "platform/RecordingState.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <QMenu>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSystemTrayIcon;

namespace sonvale::ui {

class TrayHost;

/// The program's place in the panel: an icon that shows the state, and a menu with the state in words, the
/// error line while there is one, and the way out. Main actor.
///
/// It appears as soon as there is a panel that takes it, which may be later than the program's start or
/// never; the program goes on without.
class TrayIcon {
public:
    /// `clock` must outlive the icon. `onQuit` is called when the user chooses "Quit Son Vale".
    TrayIcon(const runtime::Actor& mainActor, runtime::Clock& clock, std::function<void()> onQuit);
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    void setState(platform::RecordingState state);
    void setErrorMessage(std::optional<std::string> message);

    /// The menu as it opens from the icon.
    QMenu& menu() { return menu_; }

private:
    void appear();

    base::Logger logger_{"TrayIcon"};
    platform::RecordingState state_ = platform::RecordingState::idle;
    QMenu menu_;
    QAction* status_ = nullptr;
    QAction* error_ = nullptr;
    std::unique_ptr<TrayHost> host_;
    std::unique_ptr<QSystemTrayIcon> icon_; ///< made when there is a host
};

} // namespace sonvale::ui
