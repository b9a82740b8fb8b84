#include "ui/settings/TranscriptionSettingsModel.h"

#include "persistence/SettingsKeys.h"
#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;

class TranscriptionSettingsModelTest : public tests::CoreFixture {
protected:
    TranscriptionSettingsModel model{settings(), state().shared_from_this()};
};

} // namespace

TEST_F(TranscriptionSettingsModelTest, IgnoresChoicesThatAreNotOffered) {
    using Engine = TranscriptionSettingsModel::Engine;
    model.selectEngine(Engine::Local);
    model.selectLanguage(1);
    EXPECT_EQ(model.engine(), Engine::Local);
    EXPECT_EQ(model.languageIndex(), 1);
    int changes = 0;
    QObject::connect(&model, &TranscriptionSettingsModel::changed, [&] { ++changes; });
    model.selectEngine(Engine::Other);
    model.selectLanguage(-1);
    model.selectLanguage(static_cast<int>(TranscriptionSettingsModel::languages().size()));
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(model.engine(), Engine::Local);
    EXPECT_EQ(settings().bound(keys::language), "es");
    EXPECT_EQ(model.languageIndex(), 1);
}

} // namespace sonvale::ui
