#include "ui/TrayIcon.h"

#include "ui/MenuStatus.h"
#include "ui/Texts.h"
#include "ui/TrayHost.h"
#include "ui/TrayIconSymbol.h"

#include <QAction>
#include <QFontMetrics>
#include <QSystemTrayIcon>

namespace sonvale::ui {

namespace {

/// A menu is as wide as its widest line; a server's whole answer must not stretch it over the screen.
constexpr int widestLine = 420;

/// One line, shortened at its end, in which "&" does not mark a shortcut.
QString lineFor(const std::string& message, const QFont& font) {
    const QString line =
        QFontMetrics(font).elidedText(translated(message).simplified(), Qt::ElideRight, widestLine);
    return QString(line).replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

TrayIcon::TrayIcon(const runtime::Actor& mainActor, runtime::Clock& clock, Actions actions)
    : actions_(std::move(actions)) {
    status_ = menu_.addAction(translated(menuStatus(state_)));
    status_->setEnabled(false);
    error_ = menu_.addAction(QString());
    error_->setEnabled(false);
    error_->setVisible(false);
    menu_.addSeparator();
    const auto* dashboard = menu_.addAction(translated("Dashboard"));
    QObject::connect(dashboard, &QAction::triggered, &menu_, [this] { actions_.openDashboard(); });
    menu_.addSeparator();
    const auto* quit = menu_.addAction(translated("Quit Son Vale"));
    QObject::connect(quit, &QAction::triggered, &menu_, [this] { actions_.quit(); });

    const auto onNoneYet = [this] {
        logger_.info("No panel with a tray here: the program runs without its icon until there is one");
        actions_.noPanel();
    };
    host_ = std::make_unique<TrayHost>(mainActor, clock, [this] { appear(); }, onNoneYet);
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::appear() {
    icon_ = std::make_unique<QSystemTrayIcon>(trayIconSymbol(state_));
    icon_->setToolTip(QStringLiteral("Son Vale"));
    icon_->setContextMenu(&menu_);
    QObject::connect(icon_.get(), &QSystemTrayIcon::activated, &menu_,
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
    status_->setText(translated(menuStatus(state)));
    if (icon_)
        icon_->setIcon(trayIconSymbol(state));
}

void TrayIcon::setErrorMessage(std::optional<std::string> message) {
    error_->setText(message ? lineFor(*message, menu_.font()) : QString());
    error_->setToolTip(message ? translated(*message) : QString());
    error_->setVisible(message.has_value());
}

} // namespace sonvale::ui
