#include "ui/settings/UpdateModel.h"

#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

namespace sonvale::ui {

namespace {

class UpdateModelTest : public tests::CoreFixture {
protected:
    UpdateModel model{environment().main, environment().updater, "2.3.4"};
};

} // namespace

TEST_F(UpdateModelTest, RunsOneCheckAtATime) {
    model.check();
    settle();
    model.check();
    settle();
    EXPECT_EQ(updater().checks(), 1);
    EXPECT_EQ(model.state(), UpdateModel::State::Checking);
    updater().answer(platform::UpToDate{"2.3.4"});
    settle();
    EXPECT_EQ(model.state(), UpdateModel::State::UpToDate);
    model.check();
    settle();
    EXPECT_EQ(updater().checks(), 2);
}

} // namespace sonvale::ui
