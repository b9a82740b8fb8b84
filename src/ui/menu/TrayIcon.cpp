#include "ui/menu/TrayIcon.h"

#include "ui/menu/TrayIconSymbol.h"

#include <QMenu>
#include <QSystemTrayIcon>

namespace sonvale::ui {

TrayIcon::TrayIcon(platform::TrayHost& host, QMenu& contextMenu, Actions actions)
    : host_(host)
    , contextMenu_(contextMenu)
    , actions_(std::move(actions)) {
    const auto onNoneYet = [this] {
        logger_.info("No panel with a tray here: the program runs without its icon until there is one");
        actions_.noPanel();
    };
    host_.wait([this] { appear(); }, onNoneYet);
}

TrayIcon::~TrayIcon() {
    host_.stop();
}

void TrayIcon::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>(trayIconSymbol(state_));
    icon_->setToolTip(QStringLiteral("Son Vale"));
    icon_->setContextMenu(&contextMenu_);
    QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger)
                             actions_.toggleMenu(icon_->geometry());
                     });
    icon_->show();
}

void TrayIcon::setState(platform::RecordingState state) {
    if (state == state_)
        return;
    state_ = state;
    if (icon_)
        icon_->setIcon(trayIconSymbol(state));
}

} // namespace sonvale::ui
