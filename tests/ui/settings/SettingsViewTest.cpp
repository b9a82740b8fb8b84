#include "persistence/SettingsKeys.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"
#include "ui/settings/SettingsModel.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>
#include <algorithm>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
using platform::ActivationPolicy;
using transcription::TranscriptionEnginePreference;

class SettingsView : public tests::ViewFixture {
protected:
    SettingsView() {
        settings().set(keys::refreshToken, "refresh");
        settings().set(keys::userEmail, "ann@example.com");
        restart();
    }

    void restart() {
        closeDashboard();
        rebuildState();
        completeOnboardingAndStart();
        settleViews();
    }
    QQuickView& openSettings() {
        auto& view = openDashboard();
        click(view, "sidebar.settings");
        return view;
    }
    static bool reads(QQuickView& view, const std::string& words) {
        const auto texts = readable(view);
        return std::ranges::find(texts, words) != texts.end();
    }
    /// Scrolls the page to the control and clicks it.
    void toggle(QQuickView& view, const std::string& name) {
        scrollTo(view, name);
        click(view, name);
    }
    static bool isOn(QQuickView& view, const std::string& name) {
        return item(view, name).property("checked").toBool();
    }
    TranscriptionEnginePreference engine() { return state().transcriptionManager->preferredEngine.get(); }
    static std::string selectedEngines(QQuickView& view) {
        std::string names;
        for (const auto* name : {"streaming", "hybrid", "local"}) {
            if (item(view, std::string("engine.") + name).property("isSelected").toBool())
                names += name;
        }
        return names;
    }
};

} // namespace

TEST_F(SettingsView, ShowsAllTextsInTheirOrder) {
    const auto texts = readable(openSettings());
    const std::vector<std::string> expected{
        "Settings",
        "General",
        "Launch at login",
        "Sound effects",
        "Pause audio during dictation",
        "Pauses Spotify and Apple Music while recording.",
        "Show in Dock",
        "Hide the Dock icon to keep Son Vale as a menu bar-only app.",
        "Text cleanup",
        "Automatically clean up grammar, punctuation, and apply your style preferences after dictation.",
        "Privacy & Data",
        "Privacy mode",
        "Transcription still uses cloud services, but nothing is saved to your history.",
        "Local-only mode",
        "All processing happens on-device. No audio or text leaves your Mac.",
        "Hotkey",
        "Keyboard Shortcuts",
        "Customize hotkeys for dictation, commands, and more",
        "Change Hotkeys",
        "Ignore short presses and other shortcuts",
        ("A shortcut that is a modifier alone records only when it is held by itself, not when you tap it or "
         "use it for another shortcut."),
        "Transcription",
        "Streaming",
        "Fastest. Audio is transcribed in real-time as you speak.",
        "Hybrid",
        "Recommended",
        "Best of both. Streams when online, falls back to local when offline.",
        "Local",
        "Free",
        "Free. No API key needed — uses your Mac's built-in speech recognition.",
        "Language",
        "Select the language you'll be speaking. Choose Auto-detect if you switch languages frequently.",
        "English",
        "Permissions",
        "Microphone",
        "Accessibility",
        "Input Monitoring",
        "Speech Recognition",
        "Re-check Permissions",
        "About",
        "Son Vale",
        "Voice-to-text that adapts to how you write.",
        "2.3.4",
        "Check for Updates"};
    const auto page = std::ranges::search(texts, expected);
    EXPECT_FALSE(page.empty()) << ::testing::PrintToString(texts);
}

TEST_F(SettingsView, ShowsTheDefaultsOfABlankTable) {
    auto& view = openSettings();
    for (const auto& [name, isSet] :
         {std::pair("launchAtLogin", false), std::pair("soundEffects", true),
          std::pair("pauseAudioDuringDictation", true), std::pair("showInDock", true),
          std::pair("textCleanup", true), std::pair("privacyMode", false), std::pair("localOnlyMode", false)})
        EXPECT_EQ(isOn(view, name), isSet) << name;
    EXPECT_EQ(selectedEngines(view), "hybrid");
}

TEST_F(SettingsView, StoresEverySwitchAtOnce) {
    auto& view = openSettings();
    const auto expectTurns = [&](const char* name, const auto& key, bool isOnFirst) {
        for (const bool isOnNow : {!isOnFirst, isOnFirst}) {
            toggle(view, name);
            EXPECT_EQ(settings().stored(key), isOnNow) << name;
            EXPECT_EQ(isOn(view, name), isOnNow) << name;
        }
    };
    expectTurns("launchAtLogin", keys::launchAtLogin, false);
    expectTurns("soundEffects", keys::soundEffectsEnabled, true);
    expectTurns("pauseAudioDuringDictation", keys::pauseAudioDuringDictation, true);
    expectTurns("showInDock", keys::showInDock, true);
    expectTurns("guardModifierHotkeys", keys::guardModifierHotkeys, false);
    expectTurns("textCleanup", keys::aiProcessingEnabled, true);
    expectTurns("privacyMode", keys::privacyModeEnabled, false);
    expectTurns("localOnlyMode", keys::localOnlyMode, false);
}

TEST_F(SettingsView, ShowsTheModifierGuardOfTheDesktopUntilItIsChanged) {
    EXPECT_FALSE(isOn(openSettings(), "guardModifierHotkeys"));
    areModifiersShared = true;
    restart();
    auto& view = openSettings();
    EXPECT_TRUE(isOn(view, "guardModifierHotkeys"));
    toggle(view, "guardModifierHotkeys");
    EXPECT_FALSE(state().isModifierGuardOn());
}

TEST_F(SettingsView, RegistersTheProgramToLaunchAtLogin) {
    auto& view = openSettings();
    toggle(view, "launchAtLogin");
    EXPECT_TRUE(loginItem().isEnabled());
    toggle(view, "launchAtLogin");
    EXPECT_FALSE(loginItem().isEnabled());
}

TEST_F(SettingsView, KeepsTheUsersChoiceIfTheLoginItemFails) {
    auto& view = openSettings();
    loginItem().setFailing(true);
    toggle(view, "launchAtLogin");
    EXPECT_TRUE(isOn(view, "launchAtLogin"));
    EXPECT_FALSE(loginItem().isEnabled());
}

TEST_F(SettingsView, ReadsTheLoginItemFromTheDesktopWhenItAppears) {
    loginItem().setEnabled(true);
    EXPECT_TRUE(isOn(openSettings(), "launchAtLogin"));
    EXPECT_EQ(settings().stored(keys::launchAtLogin), true);
    EXPECT_EQ(loginItem().registrations(), 0);
    loginItem().setEnabled(false);
    EXPECT_FALSE(isOn(openSettings(), "launchAtLogin"));
}

TEST_F(SettingsView, MovesTheProgramInAndOutOfTheDockAtOnce) {
    auto& view = openSettings();
    toggle(view, "showInDock");
    EXPECT_EQ(application().policy(), ActivationPolicy::accessory);
    toggle(view, "showInDock");
    EXPECT_EQ(application().policy(), ActivationPolicy::regular);
}

TEST_F(SettingsView, ReturnsFromLocalOnlyModeToTheChosenEngine) {
    settings().set(keys::transcriptionEngine, "streaming");
    restart();
    auto& view = openSettings();
    EXPECT_EQ(selectedEngines(view), "streaming");
    toggle(view, "localOnlyMode");
    EXPECT_EQ(selectedEngines(view), "local");
    EXPECT_EQ(engine(), TranscriptionEnginePreference::local);
    restart();
    auto& again = openSettings();
    EXPECT_TRUE(isOn(again, "localOnlyMode"));
    toggle(again, "localOnlyMode");
    EXPECT_EQ(selectedEngines(again), "streaming");
    EXPECT_EQ(engine(), TranscriptionEnginePreference::streaming);
    EXPECT_EQ(settings().stored(keys::transcriptionEngine), "streaming");
    EXPECT_FALSE(settings().has(keys::engineBeforeLocalOnly.name));
}

TEST_F(SettingsView, ReturnsToHybridWithoutARememberedEngine) {
    settings().set(keys::localOnlyMode, true);
    settings().set(keys::transcriptionEngine, "local");
    restart();
    auto& view = openSettings();
    toggle(view, "localOnlyMode");
    EXPECT_EQ(engine(), TranscriptionEnginePreference::hybrid);
    EXPECT_EQ(selectedEngines(view), "hybrid");
}

TEST_F(SettingsView, ChoosesAnEngineByItsCard) {
    auto& view = openSettings();
    for (const auto& [name, preference] : {std::pair("streaming", TranscriptionEnginePreference::streaming),
                                           std::pair("local", TranscriptionEnginePreference::local),
                                           std::pair("hybrid", TranscriptionEnginePreference::hybrid)}) {
        toggle(view, std::string("engine.") + name);
        EXPECT_EQ(settings().stored(keys::transcriptionEngine), name);
        EXPECT_EQ(engine(), preference);
        EXPECT_EQ(selectedEngines(view), name);
        toggle(view, std::string("engine.") + name);
        EXPECT_EQ(selectedEngines(view), name) << "pressed twice";
    }
}

TEST_F(SettingsView, SelectsNoCardForAnEngineWithoutACard) {
    for (const auto* stored : {"cloud", "of a later version"}) {
        settings().set(keys::transcriptionEngine, stored);
        EXPECT_EQ(selectedEngines(openSettings()), "") << stored;
    }
}

TEST_F(SettingsView, DisablesOnlineEnginesInLocalOnlyMode) {
    settings().set(keys::localOnlyMode, true);
    auto& view = openSettings();
    EXPECT_FALSE(item(view, "engine.streaming").isEnabled());
    EXPECT_FALSE(item(view, "engine.hybrid").isEnabled());
    EXPECT_TRUE(item(view, "engine.local").isEnabled());
}

TEST_F(SettingsView, PicksALanguageByMouseAndByKeyboard) {
    auto& view = openSettings();
    toggle(view, "languagePicker");
    for (const auto* label : {"English", "Spanish", "French", "German", "Italian", "Portuguese", "Japanese"})
        EXPECT_TRUE(reads(view, label)) << label;
    click(view, "choice.German");
    EXPECT_EQ(settings().stored(keys::language), "de");
    EXPECT_EQ(item(view, "languagePicker").property("displayText"), QStringLiteral("German"));
    press(view, Qt::Key_Down);
    EXPECT_EQ(settings().stored(keys::language), "it");
}

TEST_F(SettingsView, ShowsNoLanguageForACodeThatIsNotOffered) {
    settings().set(keys::language, "xx");
    auto& view = openSettings();
    EXPECT_EQ(item(view, "languagePicker").property("currentIndex"), -1);
    EXPECT_EQ(item(view, "languagePicker").property("displayText"), QString());
}

TEST_F(SettingsView, FollowsChangesByTheMenu) {
    auto& view = openSettings();
    settings().set(keys::language, "fr");
    item(view, "tab.settings").setProperty("visible", true);
    change([&] { view.rootObject()->property("model").value<DashboardModel*>()->settings()->refresh(); });
    EXPECT_EQ(item(view, "languagePicker").property("displayText"), QStringLiteral("French"));
}

TEST_F(SettingsView, ShowsTheFourPermissionsAndRequestsMissingOnes) {
    capture().setStatus(platform::CaptureStatus::denied);
    accessibility().setTrusted(false);
    tap().setPermitted(false);
    recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    restart();
    auto& view = openSettings();
    EXPECT_TRUE(reads(view, "Speech Recognition is needed for Local and Hybrid modes."));
    const std::string names[] = {"Microphone", "Accessibility", "InputMonitoring", "SpeechRecognition"};
    for (const auto& name : names) {
        EXPECT_EQ(item(view, "permissionSign." + name).property("name"), QStringLiteral("xmark.circle.fill"));
        toggle(view, "permissionButton." + name);
    }
    capture().setStatus(platform::CaptureStatus::authorized);
    accessibility().setTrusted(true);
    tap().setPermitted(true);
    recognizer().setAuthorization(platform::SpeechAuthorization::authorized);
    scrollTo(view, "recheckPermissions");
    change([&] { click(view, "recheckPermissions"); });
    for (const auto& name : names) {
        EXPECT_EQ(item(view, "permissionSign." + name).property("name"),
                  QStringLiteral("checkmark.circle.fill"));
        EXPECT_FALSE(isShown(view, "permissionButton." + name)) << name;
    }
    EXPECT_FALSE(isShown(view, "speechNeeded"));
    EXPECT_TRUE(state().hotkeyManager->isEnabled().get()) << "the shortcuts run now";
}

TEST_F(SettingsView, NoticesEachPermissionAfterTheRequest) {
    struct Row {
        const char* name;
        std::function<void(bool)> give;
    };
    const Row rows[] = {{"Microphone",
                         [&](bool is) {
                             capture().setStatus(is ? platform::CaptureStatus::authorized
                                                    : platform::CaptureStatus::denied);
                         }},
                        {"Accessibility", [&](bool is) { accessibility().setTrusted(is); }},
                        {"InputMonitoring", [&](bool is) { tap().setPermitted(is); }},
                        {"SpeechRecognition", [&](bool is) {
                             recognizer().setAuthorization(is ? platform::SpeechAuthorization::authorized
                                                              : platform::SpeechAuthorization::denied);
                         }}};
    for (const auto& [name, give] : rows)
        give(false);
    restart();
    auto& view = openSettings();
    for (const auto& [name, give] : rows) {
        toggle(view, std::string("permissionButton.") + name);
        change([&] { advance(2); });
        EXPECT_TRUE(isShown(view, std::string("permissionButton.") + name)) << name;
        give(true);
        change([&] { advance(2); });
        EXPECT_FALSE(isShown(view, std::string("permissionButton.") + name)) << name;
    }
}

TEST_F(SettingsView, ShowsTheResultOfAnUpdateCheck) {
    auto& view = openSettings();
    const auto resultOf = [&](const platform::UpdateOutcome& outcome) {
        updater().hang();
        toggle(view, "checkForUpdates");
        EXPECT_EQ(text(view, "updateState"), "Checking…");
        EXPECT_FALSE(item(view, "checkForUpdates").isEnabled());
        change([&] { updater().answer(outcome); });
        EXPECT_TRUE(item(view, "checkForUpdates").isEnabled());
        return text(view, "updateState");
    };
    EXPECT_EQ(resultOf(platform::UpToDate{"2.3.4"}), "Son Vale is up to date.");
    EXPECT_EQ(resultOf(platform::NewerVersion{"2.4.0", "https://example.com/new", true}),
              "Version 2.4.0 is available. Its page has been opened.");
    EXPECT_EQ(resultOf(platform::NewerVersion{"2.4.0", "https://example.com/new", false}),
              "A newer version is available: https://example.com/new");
    EXPECT_EQ(resultOf(platform::UpdateCheckFailed{"The feed cannot be reached."}),
              "The feed cannot be reached.");
    EXPECT_EQ(updater().checks(), 4);
}

TEST_F(SettingsView, CanBeClosedDuringAnUpdateCheck) {
    auto& view = openSettings();
    updater().hang();
    toggle(view, "checkForUpdates");
    ASSERT_EQ(updater().checks(), 1);
    closeDashboard();
    change([&] { updater().answer(platform::NewerVersion{"2.4.0", "https://example.com/new", true}); });

    auto& again = openSettings();
    EXPECT_EQ(text(again, "updateState"), "") << "the answer belongs to the page that is gone";
    EXPECT_TRUE(item(again, "checkForUpdates").isEnabled());
    updater().hang();
    toggle(again, "checkForUpdates");
    change([&] { updater().answer(platform::UpToDate{"2.3.4"}); });
    EXPECT_EQ(text(again, "updateState"), "Son Vale is up to date.");
    EXPECT_EQ(updater().checks(), 2);
}

TEST_F(SettingsView, ChecksThePermissionsWhenItAppears) {
    auto& view = openDashboard();
    capture().setStatus(platform::CaptureStatus::denied);
    accessibility().setTrusted(false);
    tap().setPermitted(false);
    recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    click(view, "sidebar.settings");
    for (const auto* name : {"Microphone", "Accessibility", "InputMonitoring", "SpeechRecognition"})
        EXPECT_TRUE(isShown(view, std::string("permissionButton.") + name)) << name;
}

TEST_F(SettingsView, OffersToCheckThePermissionsAgain) {
    auto& view = openSettings();
    EXPECT_FALSE(isShown(view, "speechNeeded"));
    EXPECT_EQ(text(view, "recheckPermissions"), "Re-check Permissions");
    capture().setStatus(platform::CaptureStatus::denied);
    scrollTo(view, "recheckPermissions");
    change([&] { click(view, "recheckPermissions"); });
    EXPECT_TRUE(isShown(view, "permissionButton.Microphone"));
}

TEST_F(SettingsView, SignsOut) {
    auto& view = openSettings();
    EXPECT_EQ(text(view, "userEmail"), "ann@example.com");
    click(view, "signOut");
    EXPECT_TRUE(isShown(view, "login"));
    EXPECT_FALSE(settings().has(keys::refreshToken.name));
}

TEST_F(SettingsView, IsChangedByKeyboardOnly) {
    auto& view = openSettings();
    for (int i = 0; i < 40 && focused(view) != "privacyMode"; ++i)
        press(view, Qt::Key_Tab);
    ASSERT_EQ(focused(view), "privacyMode");
    press(view, Qt::Key_Space);
    EXPECT_EQ(settings().stored(keys::privacyModeEnabled), true);
    for (int i = 0; i < 40 && focused(view) != "checkForUpdates"; ++i)
        press(view, Qt::Key_Tab);
    const auto& button = item(view, "checkForUpdates");
    const auto place = button.mapRectToScene(button.boundingRect());
    EXPECT_TRUE(QRectF(QPointF(), view.size()).contains(place)) << "the page has scrolled to it";
}

TEST_F(SettingsView, IsChangedByAssistiveTechnology) {
    auto& view = openSettings();
    auto* resultOf = QAccessible::queryAccessibleInterface(&item(view, "textCleanup"));
    ASSERT_TRUE(resultOf && resultOf->actionInterface());
    EXPECT_EQ(resultOf->text(QAccessible::Name), QStringLiteral("Text cleanup"));
    resultOf->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    settleViews();
    EXPECT_EQ(settings().stored(keys::aiProcessingEnabled), false);
    EXPECT_FALSE(isOn(view, "textCleanup"));
}

TEST_F(SettingsView, IsMirroredFromRightToLeft) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    auto& view = openSettings();
    const auto& toggle = item(view, "textCleanup");
    EXPECT_LT(toggle.mapToScene({}).x(), 200) << "the switch stands at the left end";
    for (const auto& name : outside(view))
        ADD_FAILURE() << name;
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

} // namespace sonvale::ui
