#include "base/Json.h"
#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/WebToken.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QStyleHints>
#include <QTest>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace sonvale::tests {

namespace {

namespace keys = persistence::keys;

std::filesystem::path folder; ///< the folder of the pictures
std::set<std::string> drawn;  ///< the names of the drawn screens

/// All screens. `--list` prints the file names of their pictures without drawing them.
constexpr std::array screens{"onboarding-00-welcome",
                             "onboarding-01-microphone",
                             "onboarding-02-speechRecognition",
                             "onboarding-03-accessibility",
                             "onboarding-04-inputMonitoring",
                             "onboarding-05-ready",
                             "onboarding-06-howToUse",
                             "onboarding-07-pushToTalk",
                             "onboarding-08-handsFree",
                             "onboarding-09-processingExplainer",
                             "onboarding-10-privacyTip",
                             "onboarding-11-accessingApp",
                             "onboarding-asked",
                             "onboarding-granted",
                             "login-sign-in",
                             "login-error",
                             "login-sign-up",
                             "login-waiting",
                             "login-with-key",
                             "menu-idle",
                             "menu-transcript",
                             "menu-languages",
                             "menu-error",
                             "menu-full",
                             "home-empty",
                             "home",
                             "home-hovered",
                             "snippets-empty",
                             "snippets",
                             "snippets-add",
                             "snippets-not-found",
                             "style",
                             "style-email",
                             "scratchpad",
                             "settings-general",
                             "settings-transcription",
                             "settings-languages",
                             "settings-about",
                             "shortcuts",
                             "shortcuts-recording",
                             "shortcuts-conflict",
                             "shortcuts-menu",
                             "help-signed-out",
                             "help-greeting",
                             "help-waiting",
                             "help-conversation",
                             "help-error",
                             "help-long"};

std::string fileName(const std::string& screen, bool isDark) {
    return screen + (isDark ? "-dark.png" : "-light.png");
}

/// Draws every screen in light and dark.
class Screenshots : public ViewFixture {
protected:
    Screenshots() {
        // Anything that moves or blinks would make the pictures of each run different.
        views().appearance().overrideMotionReduced(true);
        QGuiApplication::styleHints()->setCursorFlashTime(0);
        clock().setDate(base::parseIso8601("2026-11-20T15:20:00Z").value());
    }

    enum class Pointer { away, stays };

    void draw(QQuickView& view, const std::string& name, Pointer pointer = Pointer::away) {
        EXPECT_NE(std::ranges::find(screens, name), screens.end())
            << name << " is not in the list of screens";
        EXPECT_TRUE(drawn.insert(name).second) << name << " is drawn twice";
        for (const bool isDark : {false, true}) {
            views().appearance().overrideDark(isDark);
            // A pointer on a button would change its color.
            if (pointer == Pointer::away)
                QTest::mouseMove(&view, QPoint(1, 1)); // (0, 0) means the middle
            settleViews();
            const auto file = folder / fileName(name, isDark);
            EXPECT_TRUE(view.grabWindow()
                            .convertToFormat(QImage::Format_RGB32)
                            .save(QString::fromStdString(file.string()), "PNG", highestCompression))
                << file;
        }
        views().appearance().overrideDark(std::nullopt);
    }

    void denyEverything() {
        capture().setStatus(platform::CaptureStatus::denied);
        accessibility().setTrusted(false);
        tap().setPermitted(false);
        recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    }
    void hover(QQuickView& view, const std::string& name) {
        auto& target = item(view, name);
        QTest::mouseMove(&view,
                         target.mapToScene(QPointF(target.width() / 2, target.height() / 2)).toPoint());
        settleViews();
    }

    void signIn() {
        settings().set(keys::refreshToken, "refresh");
        rebuildState();
        showSignIn();
    }
    void addHistory() {
        const std::pair<double, const char*> rows[] = {
            {0, "Could you send me the notes from this morning?"},
            {2,
             "I would like to go through the figures for the second quarter before we meet on Thursday. "
             "There "
             "are two things that I do not understand yet: where the growth in the north comes from, and why "
             "the costs of the warehouse fell although we opened a new one."},
            {5, "Thanks, that works for me."},
            {26, "Tomorrow at ten is fine."},
            {29, "Please book the small room."},
            {100, "The first draft is done. I will read it once more tonight and send it to you."}};
        for (const auto& [hours, text] : rows)
            state().modelContext->insert(persistence::Transcription{
                .rawText = text,
                .processedText = text,
                .timestamp = clock().date() - std::chrono::minutes(static_cast<int>(60 * hours)),
                .wordCount = static_cast<std::int64_t>(std::string_view(text).size() / 6),
                .durationSeconds = 4});
        state().modelContext->save();
    }
    void showSignIn() {
        completeOnboardingAndStart();
        settleViews();
    }

private:
    static constexpr int highestCompression = 0; ///< Qt's "quality" of a PNG
};

} // namespace

TEST_F(Screenshots, OfEveryStepOfOnboarding) {
    denyEverything();
    for (std::int64_t step = 0; step < 12; ++step) {
        // The list has an entry of each kind.
        if (step == 5) {
            capture().setStatus(platform::CaptureStatus::authorized);
            recognizer().setAuthorization(platform::SpeechAuthorization::authorized);
        }
        settings().set(keys::onboardingStep, step);
        auto& view = openDashboard();
        const auto name = ui::caseName(static_cast<ui::OnboardingStep>(step));
        draw(view, fmt::format("onboarding-{:02}-{}", step, name));
    }
}

TEST_F(Screenshots, OfARequestedPermission) {
    denyEverything();
    settings().set(keys::onboardingStep, 4);
    auto& view = openDashboard();
    click(view, "ask");
    draw(view, "onboarding-asked");
    tap().setPermitted(true);
    click(view, "checkAgain");
    draw(view, "onboarding-granted");
}

TEST_F(Screenshots, OfSignIn) {
    showSignIn();
    auto& view = openDashboard();
    draw(view, "login-sign-in");
    type(view, "ann@example.com");
    press(view, Qt::Key_Return);
    draw(view, "login-error");
    click(view, "switchMode");
    draw(view, "login-sign-up");
    network().hangNext();
    for (const auto* field : {"password", "confirmPassword"}) {
        click(view, field);
        type(view, "long enough");
    }
    press(view, Qt::Key_Return);
    draw(view, "login-waiting");
}

TEST_F(Screenshots, OfTheMenu) {
    draw(openMenu(), "menu-idle");
    change([&] {
        state().lastTranscription =
            "Could you send me the notes from this morning, and the figures for the second quarter? I would "
            "like to go through them before we meet on Thursday.";
    });
    draw(openMenu(), "menu-transcript");
    auto& languageMenu = openMenu();
    click(languageMenu, "language");
    draw(languageMenu, "menu-languages");
    change([&] { state().surfaceError("No audio recorded. Check your microphone."); });
    auto& fullMenu = openMenu();
    draw(fullMenu, "menu-error");
    click(fullMenu, "language");
    draw(fullMenu, "menu-full");
}

TEST_F(Screenshots, OfABuildWithAKey) {
    addresses.key = "sk-of-this-build";
    rebuildState();
    showSignIn();
    auto& view = openDashboard();
    draw(view, "login-with-key");
    click(view, "withoutAccount");
    click(view, "sidebar.help");
    draw(view, "help-signed-out");
}

TEST_F(Screenshots, OfHome) {
    signIn();
    workspace().setFullUserName("Ada King");
    draw(openDashboard(), "home-empty");
    addHistory();
    auto& view = openDashboard();
    draw(view, "home");
    hover(view, "transcription.0");
    draw(view, "home-hovered", Pointer::stays);
}

TEST_F(Screenshots, OfTheSnippets) {
    signIn();
    auto& view = openDashboard();
    click(view, "sidebar.snippets");
    draw(view, "snippets-empty");
    const std::tuple<const char*, const char*, const char*, int> rows[] = {
        {"my address", "221 Main Street, Springfield", "Personal", 12},
        {"sign off", "Best wishes,\nAda", "", 1},
        {"standard reply",
         "Thank you for writing. I have read your message and will come back to you by the end of the week. "
         "If "
         "it is urgent, please call the office; somebody is there from nine to five on every working day, "
         "and "
         "will know how to reach me. Until then, the page with the frequent questions may help.",
         "Work", 0}};
    for (const auto& [trigger, expansion, category, usageCount] : rows)
        state().modelContext->insert(persistence::Snippet{
            .trigger = trigger, .content = expansion, .category = category, .usageCount = usageCount});
    change([&] { state().modelContext->save(); });
    draw(view, "snippets");
    click(view, "addNew");
    draw(view, "snippets-add");
    press(view, Qt::Key_Escape);
    click(view, "search");
    type(view, "nothing like it");
    draw(view, "snippets-not-found");
}

TEST_F(Screenshots, OfTheStyle) {
    signIn();
    auto& view = openDashboard();
    click(view, "sidebar.style");
    draw(view, "style");
    click(view, "category.email");
    click(view, "customInstructions");
    type(view, "No exclamation marks. Sign with my first name.");
    scrollTo(view, "customInstructions");
    draw(view, "style-email");
}

TEST_F(Screenshots, OfTheScratchpad) {
    signIn();
    settings().set(keys::scratchpadText, "Points for Thursday:\n- the figures of the second quarter\n- the "
                                         "warehouse\n- who speaks to the landlord?");
    auto& view = openDashboard();
    click(view, "sidebar.scratchpad");
    draw(view, "scratchpad");
}

TEST_F(Screenshots, OfTheSettings) {
    settings().set(keys::userEmail, "ann@example.com");
    recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    signIn();
    auto& view = openDashboard();
    click(view, "sidebar.settings");
    draw(view, "settings-general");
    scrollTo(view, "languagePicker");
    draw(view, "settings-transcription");
    click(view, "languagePicker");
    draw(view, "settings-languages");
    press(view, Qt::Key_Escape);
    updater().answer(platform::UpToDate{"2.3.4"});
    scrollTo(view, "checkForUpdates");
    click(view, "checkForUpdates");
    draw(view, "settings-about");
}

TEST_F(Screenshots, OfTheShortcuts) {
    settings().set(keys::refreshToken, "refresh");
    auto bindings = hotkeys::HotkeyBindingStore::defaults();
    bindings.at(hotkeys::HotkeyAction::handsFree).configs.push_back({96, 0, "F5"});
    bindings.at(hotkeys::HotkeyAction::commandMode).configs = {{40, platform::modifier::mask, ""}};
    hotkeys::HotkeyBindingStore::save(settings(), bindings);
    rebuildState();
    showSignIn();
    auto& view = openDashboard();
    click(view, "sidebar.settings");
    click(view, "changeHotkeys");
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        settleViews();
        return focused(view) == "edit";
    }));
    draw(view, "shortcuts");

    auto* shortcuts = view.rootObject()->property("model").value<ui::DashboardModel*>()->shortcuts();
    shortcuts->startRecording(QStringLiteral("cancel"), 0);
    const auto isReady = [&] {
        settleViews();
        return focused(view) == "recorder";
    };
    EXPECT_TRUE(eventuallyInQt(10, isReady));
    draw(view, "shortcuts-recording");
    shortcuts->capture(hotkeys::HotkeyConfiguration::modifiersOnly, platform::modifier::option, {});
    settleViews();
    draw(view, "shortcuts-conflict");
    shortcuts->cancelRecording();
    settleViews();
    item(view, "pill.1").forceActiveFocus(Qt::TabFocusReason);
    press(view, Qt::Key_Menu);
    draw(view, "shortcuts-menu");
}

TEST_F(Screenshots, OfTheSupportChat) {
    const auto now = std::chrono::duration<double>(clock().date().time_since_epoch()).count();
    settings().set(keys::accessToken,
                   signedWebToken({{"exp", static_cast<std::int64_t>(now) + 86400}}, "secret"));
    signIn();
    auto& view = openDashboard();
    click(view, "sidebar.help");
    draw(view, "help-greeting");
    const auto asked = [&] {
        auto all = network().requests();
        std::erase_if(all, [](const auto& each) { return !each->lines; });
        return all.back();
    };
    const auto ask = [&](const std::string& question) {
        click(view, "input");
        type(view, question);
        press(view, Qt::Key_Return);
        change([&] { asked()->answerHead(200); });
    };
    const auto give = [&](const std::string& text) {
        change([&] {
            asked()->lines->give(
                "data: " + base::jsonText({{"choices", {{{"delta", {{"content", text}}}}}}}) + "\n\n");
            advance(1);
        });
    };
    ask("The ring shows, but it does not move when I speak.");
    draw(view, "help-waiting");
    give("Then no sound arrives. Please look at these, in this order:\n\n1. Is the microphone the one that "
         "you "
         "speak into?\n2. Is it granted in Settings?\n3. Does another program hear you?\n\nTell me what "
         "you find.");
    change([&] { asked()->lines->end(); });
    ask("Yes, it is granted. Another program hears me well.");
    give("Good. Please sign out, then");
    draw(view, "help-conversation");
    change([&] { asked()->lines->fail(platform::UrlError::Code::networkConnectionLost); });
    type(view, "It stopped in the middle");
    draw(view, "help-error");
    std::string whole;
    for (int i = 0; i < 400; ++i)
        whole += fmt::format("This is sentence {} of an answer that goes on and on.{}", i,
                             i % 9 == 8 ? "\n" : " ");
    press(view, Qt::Key_Return);
    change([&] { asked()->answerHead(200); });
    give(whole);
    draw(view, "help-long");
}

} // namespace sonvale::tests

/// Writes the pictures into the folder of the argument, at the scale of QT_SCALE_FACTOR. With "--list" it
/// prints their names instead.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2)
        return EXIT_FAILURE;
    using namespace sonvale::tests;
    if (std::string_view(argv[1]) == "--list") {
        for (const auto* screen : screens) {
            for (const bool isDark : {false, true})
                fmt::print("{}\n", fileName(screen, isDark));
        }
        return EXIT_SUCCESS;
    }
    folder = argv[1];
    std::filesystem::create_directories(folder);
    const PrivateDisplay display(WindowManager::openbox, {"-screen", "0", "2560x1600x24"});
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    const TemporaryDirectory runtimeDirectory;
    setenv("XDG_RUNTIME_DIR", runtimeDirectory.path().c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    // The user's desktop must not change the pictures.
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const int status = RUN_ALL_TESTS();
    if (status == EXIT_SUCCESS && drawn.size() != screens.size()) {
        fmt::print(stderr, "{} screens of the list were not drawn\n", screens.size() - drawn.size());
        return EXIT_FAILURE;
    }
    return status;
}
