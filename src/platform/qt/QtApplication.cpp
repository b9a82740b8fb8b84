#include "platform/qt/QtApplication.h"

#include "platform/qt/TaskbarPlace.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

namespace sonvale::platform::qt {

namespace {

/// Task bars list only these; pop-ups, tool tips and the like they leave out anyway.
bool canBeInTaskbar(const QWindow& window) {
    return window.isTopLevel() && (window.type() == Qt::Window || window.type() == Qt::Dialog);
}

} // namespace

QtApplication::QtApplication() {
    QGuiApplication::setQuitOnLastWindowClosed(false);
    qGuiApp->installEventFilter(this);
}

QtApplication::~QtApplication() = default;

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
    if (policy_ == policy)
        return;
    policy_ = policy;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (canBeInTaskbar(*window) && window->isVisible())
            changeTaskbarPlace(*window, policy == ActivationPolicy::regular);
    }
}

void QtApplication::terminate() {
    QMetaObject::invokeMethod(qGuiApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
}

bool QtApplication::eventFilter(QObject* object, QEvent* event) {
    // Sent once the native window is there and before it is mapped, at each showing: window managers forget
    // the state of a window that is hidden.
    if (event->type() == QEvent::Show && object->isWindowType()) {
        auto& window = static_cast<QWindow&>(*object);
        if (canBeInTaskbar(window))
            prepareTaskbarPlace(window, policy_ == ActivationPolicy::regular);
    }
    return QObject::eventFilter(object, event);
}

} // namespace sonvale::platform::qt
