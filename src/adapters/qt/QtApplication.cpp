#include "adapters/qt/QtApplication.h"

#include "adapters/qt/TaskbarPlace.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QWindow>

namespace sonvale::adapters::qt {

namespace {

/// Returns whether task bars list windows of this kind. They omit pop-ups, tool tips and the like anyway.
bool canBeInTaskbar(const QWindow& window) {
    return window.isTopLevel() && (window.type() == Qt::Window || window.type() == Qt::Dialog);
}

} // namespace

QtApplication::QtApplication() {
    QGuiApplication::setQuitOnLastWindowClosed(false);
    qGuiApp->installEventFilter(this);
}

QtApplication::~QtApplication() = default;

void QtApplication::setActivationPolicy(platform::ActivationPolicy policy) {
    if (policy_ == policy)
        return;
    policy_ = policy;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (canBeInTaskbar(*window) && window->isVisible())
            changeTaskbarPlace(*window, policy == platform::ActivationPolicy::regular);
    }
}

bool QtApplication::makeKeyAndOrderFront(const std::string& windowTitle) {
    const auto title = QString::fromStdString(windowTitle);
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (!window->isVisible() || window->title() != title)
            continue;
        if (window->windowStates() & Qt::WindowMinimized)
            window->showNormal();
        window->raise();
        window->requestActivate();
        return true;
    }
    return false;
}

void QtApplication::terminate() {
    QMetaObject::invokeMethod(qGuiApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
}

bool QtApplication::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::Show && object->isWindowType()) {
        auto& window = static_cast<QWindow&>(*object);
        if (canBeInTaskbar(window))
            placeNewWindow(window);
        else if (window.isTopLevel() && window.type() == Qt::Tool)
            prepareTaskbarPlace(window, false); // some task bars list them anyway
    }
    return QObject::eventFilter(object, event);
}

void QtApplication::placeNewWindow(QWindow& window) {
    // The event comes when the native window exists and before it is mapped, so that no task bar ever sees an
    // accessory's window. It comes at each showing, which is needed because window managers forget the state
    // of a hidden window.
    prepareTaskbarPlace(window, policy_ == platform::ActivationPolicy::regular);

    // They forget it some time after the hiding, possibly after the line above.
    const auto repeat = [this, window = QPointer<QWindow>(&window)] {
        if (window && policy_ == platform::ActivationPolicy::accessory && window->isVisible())
            changeTaskbarPlace(*window, false);
    };
    if (policy_ == platform::ActivationPolicy::accessory)
        QMetaObject::invokeMethod(this, repeat, Qt::QueuedConnection);
}

} // namespace sonvale::adapters::qt
