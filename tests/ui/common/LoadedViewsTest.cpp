#include "ui/common/LoadedViews.h"

#include "tests/fakes/FakeAppearance.h"
#include "tests/unit/core/CoreFixture.h"
#include "ui/dashboard/DashboardWindow.h"
#include "ui/menu/MenuPopover.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QLibraryInfo>
#include <string>
#include <vector>

namespace sonvale::ui {

namespace {

class LoadedViewsTest : public tests::CoreFixture {
protected:
    /// Returns the views of this module. Their failures are added to `reasons`.
    LoadedViews& viewsOf(const QString& file) {
        views_ = std::make_unique<LoadedViews>(file, appearance_);
        views_->onFailure = [this](const std::string& reason) { reasons.push_back(reason); };
        return *views_;
    }

    std::vector<std::string> reasons;

private:
    tests::FakeAppearance appearance_;
    std::unique_ptr<LoadedViews> views_;
};

const QString missing = QStringLiteral("/nowhere/sonvale-views.so");

} // namespace

TEST_F(LoadedViewsTest, ReportsAMissingModuleEachTime) {
    auto& views = viewsOf(missing);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(views.make(QStringLiteral("menu/MenuBarView"), {}).window, nullptr);
    views.trim();
    EXPECT_THAT(reasons, testing::ElementsAre(testing::HasSubstr("/nowhere/sonvale-views.so"),
                                              testing::HasSubstr("/nowhere/sonvale-views.so")));
}

TEST_F(LoadedViewsTest, RefusesAPluginOfAnotherKind) {
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    auto& views = viewsOf(plugins.filePath(QStringLiteral("libqminimal.so")));
    EXPECT_EQ(views.make(QStringLiteral("menu/MenuBarView"), {}).window, nullptr);
    EXPECT_THAT(reasons, testing::ElementsAre(testing::HasSubstr("is not a module of views")));
}

TEST_F(LoadedViewsTest, LoadsNothingBeforeTheFirstWindow) {
    viewsOf(missing).trim();
    EXPECT_THAT(reasons, testing::IsEmpty());
}

TEST_F(LoadedViewsTest, OpensNoDashboardAndNoMenuWithoutTheModule) {
    auto& views = viewsOf(missing);
    DashboardWindow dashboard(views, DashboardParts::from(environment(), state().shared_from_this()));
    dashboard.open();
    EXPECT_EQ(dashboard.view(), nullptr);

    MenuModel model(state().shared_from_this(), settings(), {});
    MenuPopover menu(views, model);
    menu.toggle(QRect(500, 100, 16, 16));
    EXPECT_EQ(menu.view(), nullptr);
    menu.close();
    EXPECT_EQ(reasons.size(), 2U);
}

} // namespace sonvale::ui
