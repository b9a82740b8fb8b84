#pragma once

#include "tests/fakes/FakeAppearance.h"
#include "tests/unit/core/CoreFixture.h"
#include "ui/common/QuickViews.h"
#include "ui/dashboard/DashboardWindow.h"
#include "ui/menu/MenuPopover.h"

#include <QQuickItem>
#include <QQuickView>
#include <QStringList>
#include <optional>
#include <string>

namespace sonvale::tests {

/// The real views with a complete core of fakes. The operations see, click and type like a user. Every
/// warning of a view fails the test.
class ViewFixture : public CoreFixture {
protected:
    ViewFixture();
    ~ViewFixture() override;

    void TearDown() override;

    ui::QuickViews& views() { return views_; }
    /// Controls the desktop's preferences for the look of windows.
    FakeAppearance::Control& desktopAppearance() { return appearance_.control(); }

    /// Rebuilds the core as at a start of a user who has finished the onboarding and has an account.
    void startSignedIn();

    /// Opens a new dashboard window and completes pending work.
    QQuickView& openDashboard();
    void closeDashboard();

    /// Opens a new menu in the middle of the screen.
    QQuickView& openMenu();
    ui::MenuPopover& menu() { return *menu_; }
    int dashboardsOpened = 0; ///< by the menu
    bool wasMenuOpen = false; ///< at the last request for the dashboard
    int quits = 0;            ///< by the menu
    /// Returns the model of the menu that was opened last.
    ui::MenuModel& menuModel() { return *menuModel_; }

    /// Returns the visible item with this object name, or null if there is none.
    static QQuickItem* find(QQuickView& view, const std::string& name);
    /// Like `find`, but fails the test if there is no such item.
    static QQuickItem& item(QQuickView& view, const std::string& name);
    static bool isShown(QQuickView& view, const std::string& name) { return find(view, name) != nullptr; }
    /// Returns the text of a text item or a button; empty if it is not visible.
    static std::string text(QQuickView& view, const std::string& name);
    /// Returns all readable texts from top to bottom.
    static std::vector<std::string> readable(QQuickView& view);
    /// Returns the items that are not completely inside the window, or inside the page that scrolls to them.
    static std::vector<std::string> outside(QQuickView& view);
    /// Returns all enabled buttons and fields.
    static std::vector<QQuickItem*> controls(QQuickView& view);

    /// Resizes the window, and waits until it has the size.
    void resize(QQuickView& view, QSize size);
    /// Scrolls the page of the item until the item is visible, as the keyboard would.
    void scrollTo(QQuickView& view, const std::string& name);
    void click(QQuickView& view, const std::string& name);
    void press(QQuickView& view, Qt::Key key);
    void type(QQuickView& view, const std::string& text);
    /// Pastes a text that is too long to type.
    void paste(QQuickView& view, const std::string& text);
    using CoreFixture::press;

    /// Returns the object name of the item with the keyboard, or of its nearest named parent.
    static std::string focused(QQuickView& view);

    /// Processes the events of Qt and the core until there are none.
    void settleViews();

    /// Makes a change to the core and lets the open models notice it.
    template <class Change>
    void change(Change what) {
        what();
        settleViews();
    }

private:
    FakeAppearance appearance_;
    ui::QuickViews views_{appearance_};
    QStringList warnings_;
    std::unique_ptr<ui::DashboardWindow> dashboard_;
    std::unique_ptr<ui::MenuModel> menuModel_;
    std::unique_ptr<ui::MenuPopover> menu_;
};

} // namespace sonvale::tests
