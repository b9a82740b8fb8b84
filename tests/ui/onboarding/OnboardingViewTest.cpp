#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QTest>
#include <algorithm>
#include <iterator>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
namespace settings_page = platform::settings_page;
using hotkeys::HotkeyAction;
using tests::eventuallyInQt;
using Texts = std::vector<std::string>;

constexpr std::int64_t microphoneStep = 1;
constexpr std::int64_t speechStep = 2;
constexpr std::int64_t accessibilityStep = 3;
constexpr std::int64_t inputStep = 4;
constexpr std::int64_t readyStep = 5;
constexpr std::int64_t lastStep = 11;

class OnboardingView : public tests::ViewFixture {
protected:
    /// Opens the window at a stored step.
    QQuickView& openAt(std::int64_t step) {
        settings().set(keys::onboardingStep, step);
        return openDashboard();
    }

    void denyEverything() {
        capture().setStatus(platform::CaptureStatus::denied);
        accessibility().setTrusted(false);
        tap().setPermitted(false);
        recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    }
    void allow(std::int64_t step) {
        switch (step) {
        case microphoneStep:
            capture().setStatus(platform::CaptureStatus::authorized);
            break;
        case speechStep:
            recognizer().setAuthorization(platform::SpeechAuthorization::authorized);
            break;
        case accessibilityStep:
            accessibility().setTrusted(true);
            break;
        default:
            tap().setPermitted(true);
        }
    }

    void pass(double seconds) {
        advance(seconds);
        settleViews();
    }

    std::int64_t storedStep() { return settings().stored(keys::onboardingStep).value_or(-1); }
    static std::string symbol(QQuickView& view, const std::string& name) {
        return item(view, name).property("name").toString().toStdString();
    }
    std::vector<std::string> linesOfOnboarding() const {
        std::vector<std::string> lines;
        std::ranges::copy_if(systemLines, std::back_inserter(lines),
                             [](const auto& line) { return line.starts_with("[Onboarding]"); });
        return lines;
    }
    /// Returns the checks since the lines were cleared, in order.
    std::vector<std::string> checks() const {
        std::vector<std::string> names;
        for (const auto& line : systemLines) {
            if (line.starts_with("check"))
                names.push_back(line.substr(0, line.find('(')));
        }
        return names;
    }
    void labelPushToTalk(std::vector<hotkeys::HotkeyConfiguration> configs) {
        auto bindings = hotkeys::HotkeyBindingStore::defaults();
        bindings[HotkeyAction::pushToTalk].configs = std::move(configs);
        hotkeys::HotkeyBindingStore::save(settings(), bindings);
    }
    /// Returns the number of frames that a window draws within some time.
    static int framesWithin(QQuickView& view, double seconds) {
        int frames = 0;
        const auto counting = QObject::connect(&view, &QQuickWindow::frameSwapped, [&] { ++frames; });
        tests::runQtFor(seconds);
        QObject::disconnect(counting);
        return frames;
    }
};

struct Step {
    Texts ownTexts; ///< the texts after the title
    Texts buttons;  ///< the texts of the bar's buttons
};

const std::vector<Step> steps{
    {{"Welcome to Son Vale", "Voice-to-text that adapts to how you write.\nLet's set up a few things first."},
     {"Continue"}},
    {{"Microphone Access", "Son Vale needs access to your microphone to transcribe your speech.",
      "Grant Microphone Access"},
     {"Back", "Continue"}},
    {{"Offline Speech Recognition",
      "Enable on-device speech recognition for private,\noffline transcription — no data leaves your Mac.",
      "Enable Speech Recognition", "Skip for Now"},
     {"Back", "Continue"}},
    {{"Accessibility Access",
      "Required to paste transcribed text into other apps.\nYou'll need to enable this in System Settings.",
      "Open Accessibility Settings"},
     {"Back", "Continue"}},
    {{"Input Monitoring",
      "Required for the global hotkey to work.\nEnable Input Monitoring in System Settings.",
      "Open Input Monitoring Settings",
      "Don't see Son Vale in the list? Click the \"+\" button and select Son Vale from your Applications "
      "folder."},
     {"Back", "Continue"}},
    {{"You're All Set!", "Press Option to start dictating.\nYour text will appear wherever your cursor is.",
      "Microphone", "Accessibility", "Input Monitoring", "Speech Recognition"},
     {"Back", "Continue"}},
    {{"Here's How to Use Son Vale", "A quick look at the basics."}, {"Back", "Skip", "Continue"}},
    {{"Hold to Dictate", "Hold your hotkey, speak, release."}, {"Back", "Skip", "Continue"}},
    {{"Hands-Free", "Tap once to start. Tap again to stop."}, {"Back", "Skip", "Continue"}},
    {{"Listening...", "Polishing", "What the Colors Mean", "Green means we're cleaning up your text."},
     {"Back", "Skip", "Continue"}},
    {{"Chat History", "History stays on your Mac. Or turn it off entirely.", "Privacy Mode in Settings"},
     {"Back", "Skip", "Continue"}},
    {{"You're Ready", "Find Son Vale in your menu bar, always."}, {"Back", "Get Started"}},
};

} // namespace

TEST_F(OnboardingView, ShowsTheTextsAndButtonsOfEachStep) {
    denyEverything();
    for (std::size_t i = 0; i < steps.size(); ++i) {
        auto expected = steps[i].ownTexts;
        expected.insert(expected.end(), steps[i].buttons.begin(), steps[i].buttons.end());
        EXPECT_EQ(readable(openAt(static_cast<std::int64_t>(i))), expected) << i;
    }
}

TEST_F(OnboardingView, ListsGrantedAndMissingPermissions) {
    denyEverything();
    auto& view = openAt(readyStep);
    for (const auto* each : {"Microphone", "Accessibility", "Input Monitoring", "Speech Recognition"})
        EXPECT_EQ(symbol(view, std::string("permission.") + each), "xmark.circle.fill") << each;

    allow(microphoneStep);
    allow(inputStep);
    click(view, "back");
    click(view, "continue");
    EXPECT_EQ(symbol(view, "permission.Microphone"), "checkmark.circle.fill");
    EXPECT_EQ(symbol(view, "permission.Accessibility"), "xmark.circle.fill");
    EXPECT_EQ(symbol(view, "permission.Input Monitoring"), "checkmark.circle.fill");
    EXPECT_EQ(symbol(view, "permission.Speech Recognition"), "xmark.circle.fill");
}

TEST_F(OnboardingView, StoresAndLogsEveryStep) {
    auto& view = openDashboard();
    EXPECT_EQ(storedStep(), -1);
    Texts expected;
    for (std::int64_t step = 0; step < lastStep; ++step) {
        click(view, "continue");
        EXPECT_EQ(storedStep(), step + 1);
        expected.push_back(
            fmt::format("[Onboarding] CONTINUE clicked — current step {} → {}", step, step + 1));
        EXPECT_EQ(linesOfOnboarding(), expected);
    }
    EXPECT_FALSE(isShown(view, "continue"));
    EXPECT_TRUE(isShown(view, "getStarted"));

    for (std::int64_t step = lastStep; step > 0; --step) {
        click(view, "back");
        EXPECT_EQ(storedStep(), step - 1);
        EXPECT_EQ(text(view, "title"),
                  steps[static_cast<std::size_t>(step - 1)].ownTexts.at(step - 1 == 9 ? 2 : 0));
    }
    EXPECT_FALSE(isShown(view, "back"));
    EXPECT_EQ(linesOfOnboarding(), expected) << "going back says nothing";
}

TEST_F(OnboardingView, SkipsTheRestOfTheTour) {
    for (std::int64_t step = 6; step <= 10; ++step) {
        click(openAt(step), "skip");
        EXPECT_EQ(storedStep(), lastStep) << step;
    }
    EXPECT_TRUE(linesOfOnboarding().empty());
}

TEST_F(OnboardingView, ResumesAtTheStoredStep) {
    EXPECT_EQ(text(openAt(3), "title"), "Accessibility Access");
    click(openAt(3), "continue");
    closeDashboard();
    EXPECT_EQ(text(openDashboard(), "title"), "Input Monitoring");
    for (const std::int64_t unknown : {std::int64_t{12}, std::int64_t{-1}, std::int64_t{1} << 40})
        EXPECT_EQ(text(openAt(unknown), "title"), "Welcome to Son Vale") << unknown;
}

TEST_F(OnboardingView, EndsWithGetStartedAtSignIn) {
    auto& view = openAt(lastStep);
    click(view, "getStarted");
    EXPECT_EQ(linesOfOnboarding(), Texts{"[Onboarding] GET STARTED clicked — calling completeOnboarding()"});
    EXPECT_TRUE(systemHas("[AppState] completeOnboarding() called"));
    EXPECT_TRUE(state().isOnboardingComplete.get());
    EXPECT_FALSE(settings().has(keys::onboardingStep.name));
    EXPECT_EQ(settings().stored(keys::isOnboardingComplete), true);
    tap().runBlocks();
    EXPECT_TRUE(tap().isRunning()) << "the shortcuts work from now on";
    EXPECT_TRUE(isShown(view, "login"));
    EXPECT_FALSE(isShown(view, "onboarding"));
}

TEST_F(OnboardingView, EndsAtHomeIfAUserIsSignedIn) {
    settings().set(keys::refreshToken, "refresh");
    rebuildState();
    auto& view = openAt(lastStep);
    click(view, "getStarted");
    EXPECT_TRUE(isShown(view, "home"));
}

TEST_F(OnboardingView, ShowsAPermissionOfAnEarlierRunAtOnce) {
    for (const auto step : {microphoneStep, speechStep, accessibilityStep, inputStep}) {
        auto& view = openAt(step);
        EXPECT_TRUE(isShown(view, "granted")) << step;
        EXPECT_TRUE(std::ranges::count(readable(view), "Granted") == 1) << step;
        EXPECT_FALSE(isShown(view, "ask")) << step;
        EXPECT_FALSE(isShown(view, "skipForNow")) << step;
        EXPECT_FALSE(isShown(view, "inputMonitoringHint")) << step;
    }
}

TEST_F(OnboardingView, ChecksThePermissionOfANewStep) {
    auto& view = openDashboard();
    const std::vector<Texts> expected{
        {"checkMicrophone"},
        {"checkSpeechRecognition"},
        {"checkAccessibility"},
        {"checkInputMonitoring"},
        {"checkMicrophone", "checkAccessibility", "checkInputMonitoring", "checkSpeechRecognition"},
        {}};
    for (const auto& each : expected) {
        systemLines.clear();
        click(view, "continue");
        EXPECT_EQ(checks(), each) << storedStep();
    }
    for (const auto& [step, check] :
         {std::pair(inputStep, "checkInputMonitoring"), std::pair(microphoneStep, "checkMicrophone")}) {
        settings().set(keys::onboardingStep, step);
        systemLines.clear();
        openDashboard();
        EXPECT_EQ(checks(), Texts{check}) << "resumed";
    }
}

TEST_F(OnboardingView, OffersToCheckAgainAfterARequest) {
    denyEverything();
    for (const auto step : {microphoneStep, speechStep, accessibilityStep, inputStep}) {
        auto& view = openAt(step);
        EXPECT_FALSE(isShown(view, "checkAgain")) << step;
        click(view, "ask");
        EXPECT_EQ(text(view, "checkAgain"), "Check Again");
        systemLines.clear();
        click(view, "checkAgain");
        EXPECT_EQ(checks().size(), 1U) << step;
        EXPECT_FALSE(isShown(view, "granted")) << step;
        allow(step);
        click(view, "checkAgain");
        EXPECT_TRUE(isShown(view, "granted")) << step;
        EXPECT_FALSE(isShown(view, "checkAgain")) << step;
        EXPECT_EQ(focused(view), "continue") << "the keyboard is where it goes on";
    }
}

TEST_F(OnboardingView, AsksForTheMicrophone) {
    capture().setStatus(platform::CaptureStatus::notDetermined);
    capture().showPrompt();
    auto& view = openAt(microphoneStep);
    click(view, "ask");
    EXPECT_EQ(capture().requests(), 1);
    EXPECT_FALSE(isShown(view, "granted"));
    capture().answer(true);
    settleViews();
    EXPECT_TRUE(isShown(view, "granted"));
    EXPECT_TRUE(workspace().opened().empty());
}

TEST_F(OnboardingView, OpensTheMicrophonePageAfterARefusal) {
    capture().setStatus(platform::CaptureStatus::notDetermined);
    capture().showPrompt();
    auto& view = openAt(microphoneStep);
    click(view, "ask");
    capture().setStatus(platform::CaptureStatus::denied);
    capture().answer(false);
    settleViews();
    EXPECT_EQ(workspace().opened(), Texts{settings_page::microphone});
    EXPECT_TRUE(isShown(view, "ask"));
}

TEST_F(OnboardingView, ShowsANewMicrophoneWithinTwoSeconds) {
    denyEverything();
    auto& view = openAt(microphoneStep);
    click(view, "ask");
    EXPECT_EQ(workspace().opened(), Texts{settings_page::microphone});
    pass(20.5);
    EXPECT_FALSE(isShown(view, "granted"));
    allow(microphoneStep);
    pass(2);
    EXPECT_TRUE(isShown(view, "granted"));
}

TEST_F(OnboardingView, OpensEachPageAndNoticesThePermission) {
    struct Case {
        std::int64_t step;
        Texts pages;
        int prompts;
        int probes;
    };
    for (const auto& each :
         {Case{speechStep, {settings_page::speechRecognition}, 0, 0}, Case{accessibilityStep, {}, 1, 0},
          Case{inputStep, {settings_page::inputMonitoring}, 0, 1}}) {
        denyEverything();
        auto& view = openAt(each.step);
        const auto pages = workspace().opened().size();
        const int prompts = accessibility().prompts();
        const int probes = tap().probeCount();
        click(view, "ask");
        EXPECT_EQ(Texts(workspace().opened().begin() + static_cast<std::ptrdiff_t>(pages),
                        workspace().opened().end()),
                  each.pages);
        EXPECT_EQ(accessibility().prompts() - prompts, each.prompts);
        EXPECT_EQ(tap().probeCount() - probes, each.probes);
        pass(3);
        EXPECT_FALSE(isShown(view, "granted")) << each.step;
        allow(each.step);
        pass(2);
        EXPECT_TRUE(isShown(view, "granted")) << each.step;
    }
}

TEST_F(OnboardingView, SkipsTheRecognizerWithoutItsPermission) {
    denyEverything();
    auto& view = openAt(speechStep);
    click(view, "skipForNow");
    EXPECT_EQ(storedStep(), accessibilityStep);
    EXPECT_EQ(text(view, "title"), "Accessibility Access");
    EXPECT_FALSE(state().permissionsManager->speechRecognitionGranted.get());
    EXPECT_TRUE(workspace().opened().empty());
}

TEST_F(OnboardingView, ContinuesWithoutAPermission) {
    denyEverything();
    auto& view = openAt(microphoneStep);
    for (auto step = microphoneStep; step < readyStep; ++step)
        click(view, "continue");
    EXPECT_EQ(text(view, "title"), "You're All Set!");
}

TEST_F(OnboardingView, NamesTheShortcutThatStartsADictation) {
    const auto body = [this] { return text(openAt(readyStep), "body"); };
    constexpr const char* rest = " to start dictating.\nYour text will appear wherever your cursor is.";
    labelPushToTalk({{105, 0, "F13"}, {49, 0, "Space"}});
    EXPECT_EQ(body(), std::string("Press F13") + rest);
    labelPushToTalk({});
    EXPECT_EQ(body(), std::string("Press Option + D") + rest);
    labelPushToTalk({{105, 0, "<b>$&</b> %1 שלום"}});
    EXPECT_EQ(body(), std::string("Press <b>$&</b> %1 שלום") + rest) << "as it was stored";
}

TEST_F(OnboardingView, IsUsedByKeyboardOnly) {
    denyEverything();
    auto& view = openDashboard();
    for (std::int64_t step = 0; step < lastStep; ++step) {
        EXPECT_EQ(focused(view), "continue") << step;
        press(view, step % 2 == 0 ? Qt::Key_Return : Qt::Key_Space);
        EXPECT_EQ(storedStep(), step + 1);
    }
    EXPECT_EQ(focused(view), "getStarted");
    press(view, Qt::Key_Return);
    EXPECT_TRUE(isShown(view, "login"));
}

TEST_F(OnboardingView, ReachesEveryButtonByKeyboardInReadingOrder) {
    denyEverything();
    const auto order = [](QQuickView& view) {
        Texts names;
        for (auto name = focused(view); names.empty() || name != names.front(); name = focused(view)) {
            names.push_back(name);
            QTest::keyClick(&view, Qt::Key_Tab);
        }
        return names;
    };
    EXPECT_EQ(order(openAt(0)), Texts{"continue"});
    auto& view = openAt(speechStep);
    EXPECT_EQ(order(view), (Texts{"continue", "ask", "skipForNow", "back"}));
    press(view, Qt::Key_Tab);
    press(view, Qt::Key_Return);
    EXPECT_EQ(order(view), (Texts{"ask", "checkAgain", "skipForNow", "back", "continue"}));
    press(view, Qt::Key_Backtab);
    press(view, Qt::Key_Backtab);
    EXPECT_EQ(focused(view), "back");
    press(view, Qt::Key_Return);
    EXPECT_EQ(storedStep(), microphoneStep);
    EXPECT_EQ(order(openAt(6)), (Texts{"continue", "back", "skip"}));
}

TEST_F(OnboardingView, FitsIntoItsWindowAtEveryStep) {
    denyEverything();
    labelPushToTalk({{105, 0, "Control + Option + Shift + Command + " + std::string(200, 'w')}});
    for (const auto& size : {QSize(800, 600), QSize(900, 700)}) {
        for (std::int64_t step = 0; step <= lastStep; ++step) {
            auto& view = openAt(step);
            view.resize(size);
            ASSERT_TRUE(eventuallyInQt(10, [&] { return view.rootObject()->size() == QSizeF(size); }));
            settleViews();
            if (isShown(view, "ask"))
                click(view, "ask");
            // The page scrolls with the longest possible label.
            if (step != readyStep)
                EXPECT_EQ(outside(view), Texts{}) << step;
            const auto words = item(view, "body").mapRectToScene(item(view, "body").boundingRect());
            EXPECT_GE(words.left(), 0) << step;
            EXPECT_LE(words.right(), size.width()) << step;
        }
    }
    labelPushToTalk({{105, 0, "Control + Option + Shift + Command + Space"}});
    auto& view = openAt(readyStep);
    view.resize(800, 600);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return view.rootObject()->height() == 600; }));
    settleViews();
    EXPECT_EQ(outside(view), Texts{});
}

TEST_F(OnboardingView, MovesTheRingsOnlyWhileTheyAreVisible) {
    auto& view = openAt(9);
    EXPECT_FALSE(item(view, "listeningRing").property("isWorking").toBool());
    EXPECT_TRUE(item(view, "workingRing").property("isWorking").toBool());
    EXPECT_GT(framesWithin(view, 1), 5);

    views().appearance().overrideMotionReduced(true);
    tests::runQtFor(0.3);
    EXPECT_EQ(framesWithin(view, 0.5), 0) << "where the desktop wants no motion";
    views().appearance().overrideMotionReduced(std::nullopt);
    EXPECT_GT(framesWithin(view, 1), 5);

    click(view, "continue");
    tests::runQtFor(0.5);
    EXPECT_EQ(framesWithin(view, 0.5), 0);
}

} // namespace sonvale::ui
