#include "ui/dashboard/DashboardWindow.h"

#include "ui/menu/TrayIconSymbol.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace sonvale::ui {

namespace {

constexpr QSize initialSize(900, 700);
constexpr QSize smallestSize(800, 600);

} // namespace

DashboardWindow::DashboardWindow(Views& views, DashboardParts parts)
    : views_(views)
    , parts_(std::move(parts)) {}

DashboardWindow::~DashboardWindow() {
    view_.reset();
}

void DashboardWindow::open() {
    if (!view_) {
        model_ = std::make_unique<DashboardModel>(parts_);
        view_ = views_
                    .make(QStringLiteral("dashboard/DashboardRoot"),
                          {{QStringLiteral("model"), QVariant::fromValue<QObject*>(model_.get())}})
                    .window;
        if (!view_) {
            model_.reset();
            return;
        }
        view_->setTitle(QString::fromLatin1(title));
        view_->setIcon(trayIconSymbol(platform::RecordingState::idle));
        view_->setMinimumSize(smallestSize);
        view_->resize(initialSize);
        if (const auto* screen = view_->screen()) {
            const auto room = screen->availableGeometry();
            view_->setPosition(room.center() - QPoint(initialSize.width() / 2, initialSize.height() / 2));
        }
        view_->installEventFilter(this);
    }
    view_->show();
    view_->raise();
    view_->requestActivate();
}

bool DashboardWindow::eventFilter(QObject* object, QEvent* event) {
    // The window must not be destroyed inside its own event.
    if (object == view_.get() && event->type() == QEvent::Close)
        QMetaObject::invokeMethod(this, &DashboardWindow::drop, Qt::QueuedConnection);
    return QObject::eventFilter(object, event);
}

void DashboardWindow::drop() {
    if (!view_ || view_->isVisible())
        return;
    view_.reset();
    model_.reset();
    views_.trim();
}

} // namespace sonvale::ui
