#include "ui/menu/MenuPopover.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QTimerEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace sonvale::ui {

namespace {

constexpr int gap = 6;
/// The delay in which window managers return the keyboard: they need some milliseconds.
constexpr int millisecondsToGiveBack = 150;

} // namespace

MenuPopover::MenuPopover(Views& views, MenuModel& model)
    : views_(views)
    , model_(model) {}

MenuPopover::~MenuPopover() = default;

void MenuPopover::toggle(const QRect& icon) {
    if (view_.window) {
        close();
        return;
    }
    icon_ = icon.isEmpty() ? QRect(QCursor::pos(), QSize(1, 1)) : icon;
    model_.refresh();
    view_ = views_.make(QStringLiteral("menu/MenuBarView"),
                        {{QStringLiteral("model"), QVariant::fromValue<QObject*>(&model_)}});
    if (!view_.window)
        return;
    view_.window->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::NoDropShadowWindowHint);
    view_.window->setTitle(QStringLiteral("Son Vale"));
    view_.window->installEventFilter(this);
    if (view_.content) {
        connect(view_.content, SIGNAL(closeRequested()), this, SLOT(closeLater()));
        connect(view_.content, SIGNAL(implicitHeightChanged()), this, SLOT(place()));
    }
    place();
    view_.window->show();
    view_.window->raise();
    view_.window->requestActivate();
}

void MenuPopover::place() {
    if (!view_.content)
        return;
    const auto* screen = QGuiApplication::screenAt(icon_.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    QSize size(width, static_cast<int>(std::ceil(view_.content->property("implicitHeight").toReal())));
    if (!screen) {
        view_.window->setGeometry(QRect(icon_.topLeft(), size));
        return;
    }
    const auto room = screen->availableGeometry();
    // The menu scrolls if it does not fit.
    size.setHeight(std::min(size.height(), room.height()));
    view_.window->setGeometry(placeFor(icon_, size, room));
}

QRect MenuPopover::placeFor(const QRect& icon, const QSize& size, const QRect& room) {
    const bool fitsBelow = icon.bottom() + gap + size.height() <= room.bottom();
    const int wantedTop = fitsBelow ? icon.bottom() + gap : icon.top() - gap - size.height();
    const auto inside = [](int wanted, int first, int last) {
        return std::max(first, std::min(wanted, last));
    };
    return {QPoint(inside(icon.center().x() - size.width() / 2, room.left(), room.right() - size.width() + 1),
                   inside(wantedTop, room.top(), room.bottom() - size.height() + 1)),
            size};
}

bool MenuPopover::eventFilter(QObject* object, QEvent* event) {
    if (object == view_.window.get() && (event->type() == QEvent::FocusOut || event->type() == QEvent::Close))
        closeLater();
    return QObject::eventFilter(object, event);
}

void MenuPopover::closeLater() {
    // The window must not be destroyed inside its own event.
    QMetaObject::invokeMethod(this, &MenuPopover::close, Qt::QueuedConnection);
}

void MenuPopover::close() {
    view_ = {};
}

void MenuPopover::closeFirst(std::function<void()> then) {
    QMetaObject::invokeMethod(
        this,
        [this, then = std::move(then)] {
            close();
            then();
        },
        Qt::QueuedConnection);
}

void MenuPopover::closeAndThen(std::function<void()> then) {
    closeLater();
    then_ = std::move(then);
    keyboardTimer_.start(millisecondsToGiveBack, this);
}

void MenuPopover::timerEvent(QTimerEvent*) {
    keyboardTimer_.stop();
    if (auto then = std::exchange(then_, nullptr))
        then();
}

} // namespace sonvale::ui
