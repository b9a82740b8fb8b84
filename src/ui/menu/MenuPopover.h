#pragma once

#include "ui/common/Views.h"
#include "ui/menu/MenuModel.h"

#include <QBasicTimer>
#include <QObject>
#include <QRect>
#include <functional>
#include <memory>

namespace sonvale::ui {

/// The menu as a window of its own at the tray's icon, or at the pointer where the panel does not tell where
/// its icon is. It goes when the user turns to something else. Main actor.
class MenuPopover final : public QObject {
    Q_OBJECT

public:
    static constexpr int width = 320;

    /// `model` and `views` must outlive it.
    MenuPopover(Views& views, MenuModel& model);
    ~MenuPopover() override;

    /// Opens at `icon`, in global coordinates; at the pointer when it is empty. When it is open, it closes.
    void toggle(const QRect& icon);
    void close();
    /// Closes in the next turn of the event loop, and then calls `then`, also if no menu is open.
    void closeFirst(std::function<void()> then);
    /// As `close()`, and calls `then` once another window has had the time to take the keyboard.
    void closeAndThen(std::function<void()> then);

    /// The open window; null when there is none.
    QQuickView* view() const { return view_.get(); }

    /// Where a window of `size` goes: beside `icon` and inside `room`.
    static QRect placeFor(const QRect& icon, const QSize& size, const QRect& room);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    Q_SLOT void closeLater();
    void place();

    Views& views_;
    MenuModel& model_;
    QRect icon_;
    std::unique_ptr<QQuickView> view_;
    QBasicTimer keyboardTimer_;
    std::function<void()> then_;
};

} // namespace sonvale::ui
