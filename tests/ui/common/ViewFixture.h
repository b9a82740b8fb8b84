#pragma once

#include "tests/fakes/FakeAppearance.h"
#include "tests/unit/core/CoreFixture.h"
#include "ui/common/Views.h"
#include "ui/dashboard/DashboardWindow.h"
#include "ui/menu/MenuPopover.h"

#include <QQuickItem>
#include <QStringList>
#include <optional>
#include <string>

namespace sonvale::tests {

/// The real views over a whole core of fakes, with the eyes, the mouse and the keyboard of a user. Every
/// warning of a view fails the test.
class ViewFixture : public CoreFixture {
protected:
    ViewFixture();
    ~ViewFixture() override;

    void TearDown() override;

    ui::Views& views() { return views_; }
    /// What the desktop says about the look of windows.
    FakeAppearance::Control& desktopAppearance() { return appearance_.control(); }

    /// The core as a new start builds it for a user who has been through the first steps and has an account.
    void startSignedIn();

    /// The dashboard's window, opened anew. Completes what is in flight.
    QQuickView& openDashboard();
    void closeDashboard();

    /// The menu, opened anew at a place in the middle of the screen.
    QQuickView& openMenu();
    ui::MenuPopover& menu() { return *menu_; }
    int dashboardsOpened = 0; ///< by the menu
    bool wasMenuOpen = false; ///< when the dashboard was opened last
    int quits = 0;            ///< by the menu
    /// The model of the menu that was opened last.
    ui::MenuModel& menuModel() { return *menuModel_; }

    /// The item with this object name that is visible; null when there is none.
    static QQuickItem* find(QQuickView& view, const std::string& name);
    /// As `find`; a failure of the test when there is none.
    static QQuickItem& item(QQuickView& view, const std::string& name);
    static bool isShown(QQuickView& view, const std::string& name) { return find(view, name) != nullptr; }
    /// What a text or a button says; empty when it is not shown.
    static std::string text(QQuickView& view, const std::string& name);
    /// Every text that can be read now, from top to bottom.
    static std::vector<std::string> readable(QQuickView& view);
    /// Everything that is drawn and does not stand wholly inside the window, or inside the page that could be
    /// scrolled to see it.
    static std::vector<std::string> outside(QQuickView& view);
    /// Every button and field that is there and not disabled.
    static std::vector<QQuickItem*> controls(QQuickView& view);

    /// Gives the window a size, and waits until it has it.
    void resize(QQuickView& view, QSize size);
    /// Scrolls the page that it stands in until it is in sight, as the keyboard would.
    void scrollTo(QQuickView& view, const std::string& name);
    void click(QQuickView& view, const std::string& name);
    void press(QQuickView& view, Qt::Key key);
    void type(QQuickView& view, const std::string& text);
    /// By the clipboard, for a text that is too long to type.
    void paste(QQuickView& view, const std::string& text);
    using CoreFixture::press;

    /// The object name of what has the keyboard, or of what it is in.
    static std::string focused(QQuickView& view);

    /// Runs Qt and the core until nothing is left to do now.
    void settleViews();

    /// The model of whatever is open has been told of a change of the core.
    template <class Change>
    void change(Change what) {
        what();
        settleViews();
    }

private:
    FakeAppearance appearance_;
    ui::Views views_{appearance_};
    QStringList warnings_;
    std::unique_ptr<ui::DashboardWindow> dashboard_;
    std::unique_ptr<ui::MenuModel> menuModel_;
    std::unique_ptr<ui::MenuPopover> menu_;
};

} // namespace sonvale::tests
