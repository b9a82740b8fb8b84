#pragma once

#include "core/AppState.h"
#include "core/Environment.h"
#include "ui/common/Views.h"
#include "ui/dashboard/DashboardModel.h"

#include <QObject>
#include <memory>

namespace sonvale::ui {

/// The application's one ordinary window. It is made when it opens and gone when it is closed, with the
/// memory that its views took. Main actor.
class DashboardWindow final : public QObject {
    Q_OBJECT

public:
    static constexpr const char* title = "Son Vale Dashboard";

    /// Everything that is referred to, by the environment as well, must outlive it.
    DashboardWindow(Views& views, core::Environment environment, std::shared_ptr<core::AppState> appState);
    ~DashboardWindow() override;

    /// Opens the window, or brings the open one to the front.
    void open();

    /// The open window; null when there is none.
    QQuickView* view() const { return view_.get(); }

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void drop();

    Views& views_;
    const core::Environment environment_;
    const std::shared_ptr<core::AppState> appState_;
    std::unique_ptr<DashboardModel> model_;
    std::unique_ptr<QQuickView> view_;
};

} // namespace sonvale::ui
