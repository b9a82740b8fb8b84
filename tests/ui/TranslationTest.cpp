#include "hotkeys/HotkeyAction.h"
#include "persistence/SettingsKeys.h"
#include "services/SupportMessages.h"
#include "tests/ui/ViewFixture.h"
#include "ui/FormalityText.h"
#include "ui/Languages.h"
#include "ui/MenuStatus.h"
#include "ui/Texts.h"

#include <gtest/gtest.h>

#include <QTranslator>
#include <algorithm>
#include <set>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
using platform::RecordingState;

/// A language in which everything stands in brackets.
class Brackets final : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char* /*note*/,
                      int /*number*/) const override {
        if (QLatin1String(context) != QLatin1String("Texts"))
            return {};
        return QStringLiteral("[") + QString::fromUtf8(source) + QStringLiteral("]");
    }
};

class Translation : public tests::ViewFixture {
protected:
    Translation() { QCoreApplication::installTranslator(&brackets_); }
    ~Translation() override { QCoreApplication::removeTranslator(&brackets_); }

    /// Every text that can be read is in the other language, but those of the user and the world.
    static void expectTranslated(QQuickView& view, const std::string& screen,
                                 const std::set<std::string>& others = {}) {
        for (const auto& text : readable(view)) {
            const bool isNumber = text.find_first_not_of("0123456789.,:K APM\u202f") == std::string::npos;
            if (!isNumber && !others.contains(text))
                EXPECT_NE(text.find('['), std::string::npos) << screen << ": " << text;
        }
    }

private:
    Brackets brackets_;
};

} // namespace

TEST_F(Translation, OfEveryStepOfOnboarding) {
    capture().setStatus(platform::CaptureStatus::denied);
    for (std::int64_t step = 0; step < 12; ++step) {
        settings().set(keys::onboardingStep, step);
        auto& view = openDashboard();
        expectTranslated(view, "step " + std::to_string(step), {"⌥", "Option", "Alt"});
    }
}

TEST_F(Translation, OfTheWayIn) {
    completeOnboardingAndStart();
    auto& view = openDashboard();
    click(view, "submit");
    expectTranslated(view, "sign in");
    click(view, "switchMode");
    expectTranslated(view, "sign up");
}

TEST_F(Translation, OfTheMenu) {
    expectTranslated(openMenu(), "menu", {"⌘⌥V"});
    change([&] { state().surfaceError("No audio recorded."); });
    auto& view = openMenu();
    click(view, "language");
    expectTranslated(view, "menu with languages", {"⌘⌥V"});
}

TEST_F(Translation, OfEveryTab) {
    settings().set(keys::refreshToken, "refresh");
    settings().set(keys::userEmail, "ann@example.com");
    recogniser().setAuthorization(platform::SpeechAuthorization::denied);
    workspace().setFullUserName("Ada");
    rebuildState();
    completeOnboardingAndStart();
    state().modelContext->insert(persistence::Snippet{.trigger = "trigger", .content = "content"});
    state().modelContext->save();
    auto& view = openDashboard();
    change([&] { dictate("some words"); });
    for (const auto* tab : {"home", "snippets", "style", "scratchpad", "settings", "help"}) {
        click(view, std::string("sidebar.") + tab);
        expectTranslated(view, tab, {"ann@example.com", "some words", "trigger", "content", "2.3.4"});
    }
}

TEST_F(Translation, OfTheSheets) {
    startSignedIn();
    auto& view = openDashboard();
    click(view, "sidebar.snippets");
    click(view, "addNew");
    expectTranslated(view, "add a snippet");
    press(view, Qt::Key_Escape);
    click(view, "sidebar.settings");
    scrollTo(view, "changeHotkeys");
    click(view, "changeHotkeys");
    expectTranslated(view, "shortcuts",
                     {"⌥ Opt", "⌘ Cmd", "⌃ Ctrl", "⇧ Shift", "⎋ Esc", "Space", "=", "V", "2.3.4"});
}

TEST_F(Translation, KnowsAllWordsThatStandForThemselves) {
    std::set<std::string_view> known;
    for (const auto* words : toldWords())
        known.insert(words);
    std::vector<std::string_view> told{services::supportGreeting, "Today", "Yesterday", "Already used by "};
    for (const auto state : {RecordingState::idle, RecordingState::recording, RecordingState::processing,
                             RecordingState::processingHandsFree})
        told.push_back(menuStatus(state));
    for (const auto& language : languages())
        told.push_back(language.label);
    for (const auto action : hotkeys::allHotkeyActions) {
        told.push_back(hotkeys::label(action));
        told.push_back(hotkeys::subtitle(action));
    }
    for (int formality = 0; formality <= 5; ++formality)
        told.push_back(formalityText(formality));
    for (const auto words : told)
        EXPECT_TRUE(known.contains(words)) << words;
}

TEST(Texts, AreAsTheyAreWithoutATranslation) {
    for (const auto* words : toldWords())
        EXPECT_EQ(translated(words), QString::fromUtf8(words));
    EXPECT_EQ(translated("nobody knows these — 7"), QStringLiteral("nobody knows these — 7"));
}

} // namespace sonvale::ui
