#pragma once

#include "platform/Application.h"

#include <QObject>

class QWindow;

namespace sonvale::adapters::qt {

/// The program in the desktop, through Qt. Must be made after the application object and before the first
/// window. From then on the program continues when its last window is closed.
///
/// On X11 an accessory's windows state that they have no place in task bars and pagers (EWMH
/// _NET_WM_STATE_SKIP_TASKBAR, _SKIP_PAGER). Elsewhere Qt has no such operation, and the policy changes
/// nothing.
class QtApplication final : public QObject, public platform::Application {
public:
    QtApplication();
    ~QtApplication() override;

    void setActivationPolicy(platform::ActivationPolicy policy) override;

    bool makeKeyAndOrderFront(const std::string& windowTitle) override;

    /// Quits from the event loop, after the caller has returned, even if the loop has not started yet.
    void terminate() override;

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void placeNewWindow(QWindow& window);

    platform::ActivationPolicy policy_ = platform::ActivationPolicy::regular;
};

} // namespace sonvale::adapters::qt
