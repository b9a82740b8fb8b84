#pragma once

#include "ui/common/Views.h"
#include "ui/menu/MenuModel.h"

#include <QBasicTimer>
#include <QObject>
#include <QRect>
#include <functional>
#include <memory>

namespace sonvale::ui {

/// The menu as a window at the tray icon, or at the pointer if the panel does not report the icon's place. It
/// closes when another window becomes active. Main actor.
class MenuPopover final : public QObject {
    Q_OBJECT

public:
    static constexpr int width = 320;

    /// `model` and `views` must outlive it.
    MenuPopover(Views& views, MenuModel& model);
    ~MenuPopover() override;

    /// Opens the menu at `icon`, in global coordinates, or at the pointer if `icon` is empty. Closes the menu
    /// if it is open. Does nothing if the views are not available.
    void toggle(const QRect& icon);
    void close();
    /// Closes in the next turn of the event loop, and then calls `then`, also if no menu is open.
    void closeFirst(std::function<void()> then);
    /// Closes like `close()`, and calls `then` after the delay in which another window takes the keyboard.
    void closeAndThen(std::function<void()> then);

    /// Returns the open window, or null if there is none.
    QWindow* view() const { return view_.window.get(); }

    /// Returns the place of a window of `size` next to `icon` and inside `room`.
    static QRect placeFor(const QRect& icon, const QSize& size, const QRect& room);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    Q_SLOT void closeLater();
    Q_SLOT void place();

    Views& views_;
    MenuModel& model_;
    QRect icon_;
    View view_;
    QBasicTimer keyboardTimer_;
    std::function<void()> then_;
};

} // namespace sonvale::ui
