#pragma once

#include "ui/common/Views.h"
#include "ui/dashboard/DashboardModel.h"

#include <QObject>
#include <memory>

namespace sonvale::ui {

/// The one ordinary window of the program. Closing it destroys its views and frees their memory. Main actor.
class DashboardWindow final : public QObject {
    Q_OBJECT

public:
    static constexpr const char* title = "Son Vale Dashboard";

    /// `views` and what `parts` refers to must outlive the window.
    DashboardWindow(Views& views, DashboardParts parts);
    ~DashboardWindow() override;

    /// Opens the window, or brings the open window to the front. Does nothing if the views are not available.
    void open();

    /// Returns the open window, or null if there is none.
    QWindow* view() const { return view_.get(); }

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void drop();

    Views& views_;
    const DashboardParts parts_;
    std::unique_ptr<DashboardModel> model_;
    std::unique_ptr<QWindow> view_;
};

} // namespace sonvale::ui
