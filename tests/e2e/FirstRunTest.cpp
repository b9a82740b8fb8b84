#include "tests/e2e/Onboarding.h"
#include "tests/e2e/Session.h"
#include "tests/support/Accounts.h"
#include "tests/support/Files.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace sonvale::tests {

namespace {

constexpr const char* email = "ann@example.com";
constexpr const char* password = "correct horse";

/// A desktop in which the program has never run.
class NewUser {
public:
    explicit NewUser(PrivateDesktop::Sound sound = PrivateDesktop::Sound::withMicrophone,
                     RunningProgram::Options programOptions = {}, const std::string& settings = "{}")
        : desktop(WindowManager::openbox, sound)
        , options_(std::move(programOptions))
        , panel_(desktop.start({"tint2"})) {
        RunningProgram::writeSettings(desktop, settings);
        start();
    }

    /// Returns when the dashboard has the keyboard.
    void start() {
        program.emplace(desktop, options_);
        DashboardOnScreen(desktop).activate();
    }

    nlohmann::json settings() const {
        return nlohmann::json::parse(contentOf(desktop.configuration() / "com.sonvale.app/defaults.json"));
    }
    void press(unsigned long keysym) { keyboard().tap(keysym); }
    void type(const std::string& text) { keyboard().type(text); }
    TestKeyboard& keyboard() {
        if (!keyboard_)
            keyboard_.emplace(desktop.display(), TestKeyboard::Source::hardware);
        return *keyboard_;
    }

    PrivateDesktop desktop;
    std::optional<RunningProgram> program;

private:
    RunningProgram::Options options_;
    ChildProcess panel_;
    std::optional<TestKeyboard> keyboard_;
};

/// A user who has completed onboarding and is not signed in, at the field for the e-mail.
struct SignedOutUser : NewUser {
    explicit SignedOutUser(const TestServer& server)
        : NewUser(PrivateDesktop::Sound::withMicrophone,
                  {.info = {{"BACKEND_URL", server.url()}, {"CFBundleShortVersionString", "1.0"}}},
                  R"({"isOnboardingComplete": true})") {}

    void submit(const std::string& address, const std::string& word) {
        for (const auto& text : {address, word}) {
            keyboard().chord(XK_Control_L, XK_a);
            type(text);
            if (text == address)
                press(XK_Tab);
        }
        press(XK_Return);
    }
    /// Begins and ends in the field of the password.
    void submitAgain(const std::string& word) {
        keyboard().chord(XK_Control_L, XK_a);
        type(word);
        press(XK_Return);
    }
    bool isSignedIn() const { return settings().contains("com.sonvale.userEmail"); }
};

} // namespace

TEST(FirstRun, OpensOnboardingAndTheFirstDictationWorks) {
    Session session({.isNewUser = true, .prepare = [](PrivateDesktop& desktop) {
                         RunningProgram::writeSettings(desktop, "{}");
                     }});
    const auto& voice = voices().front();
    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 20)) << session.editor.savedText();
    const auto settings =
        nlohmann::json::parse(contentOf(session.desktop.configuration() / "com.sonvale.app/defaults.json"));
    EXPECT_EQ(settings.at("isOnboardingComplete"), true);
    EXPECT_FALSE(settings.contains("onboardingStep"));
}

TEST(FirstRun, ContinuesAtTheStepAfterAQuit) {
    NewUser user;
    continueSteps(user.desktop, *user.program, 0, 3);
    EXPECT_TRUE(eventually(5, [&] { return user.settings().at("onboardingStep") == 3; }));
    EXPECT_EQ(user.program->quit(), 0);
    user.start();
    continueSteps(user.desktop, *user.program, 3, 4);
    EXPECT_TRUE(eventually(5, [&] { return user.settings().at("onboardingStep") == 4; }));
}

TEST(FirstRun, ContinuesAtTheStepAfterAKill) {
    NewUser user;
    continueSteps(user.desktop, *user.program, 0, 2);
    ASSERT_TRUE(eventually(5, [&] { return user.settings().at("onboardingStep") == 2; }));
    kill(user.program->pid(), SIGKILL);
    ASSERT_TRUE(eventually(10, [&] { return !user.program->isRunning(); }));
    user.start();
    continueSteps(user.desktop, *user.program, 2, 3);
}

TEST(FirstRun, DetectsAMicrophoneThatAppearsDuringItsStep) {
    NewUser user(PrivateDesktop::Sound::withoutMicrophone);
    continueSteps(user.desktop, *user.program, 0, 1);
    // To the button of the request, which comes before the buttons of the bar below.
    user.keyboard().down(XK_Shift_L);
    user.press(XK_Tab);
    user.press(XK_Tab);
    user.keyboard().up(XK_Shift_L);
    user.press(XK_Return);
    ASSERT_TRUE(user.program->waitForOutput("requestMicrophoneWithPolling() — status: 0", 10))
        << user.program->output();
    pauseMilliseconds(1500);
    user.desktop.sound().addMicrophone();
    EXPECT_TRUE(user.program->waitForOutput("startHotkeysIfReady() — skipped, onboarding not complete", 4))
        << user.program->output();
}

TEST(SignIn, SucceedsAndKeepsTheSession) {
    TestServer server;
    Accounts accounts(server);
    accounts.add(email, password);
    SignedOutUser user(server);
    user.submit(email, password);
    ASSERT_TRUE(eventually(20, [&] { return user.isSignedIn(); })) << user.program->output();
    EXPECT_EQ(accounts.counts().signIns, 1);
    EXPECT_EQ(user.settings().at("com.sonvale.userEmail"), email);
    EXPECT_EQ(user.program->quit(), 0);

    RunningProgram again(user.desktop);
    ASSERT_TRUE(again.waitForOutput("[AppDelegate] Initialization complete", 30));
    EXPECT_FALSE(again.waitForOutput("[AppDelegate] Opening dashboard", 1)) << "the user has no step to do";
}

TEST(SignIn, CanBeRepeatedAfterAWrongPassword) {
    TestServer server;
    Accounts accounts(server);
    accounts.add(email, password);
    SignedOutUser user(server);
    user.submit(email, "wrong horse");
    ASSERT_TRUE(eventually(20, [&] { return accounts.counts().refusedSignIns == 1; }));
    pauseMilliseconds(500);
    EXPECT_FALSE(user.isSignedIn());
    user.submitAgain(password);
    EXPECT_TRUE(eventually(20, [&] { return user.isSignedIn(); })) << user.program->output();
}

TEST(SignIn, CanBeRepeatedWhenTheServerIsBack) {
    TestServer server;
    Accounts accounts(server);
    accounts.add(email, password);
    SignedOutUser user(server);
    server.setListening(false);
    user.submit(email, password);
    pauseMilliseconds(2000);
    EXPECT_FALSE(user.isSignedIn());
    EXPECT_TRUE(user.program->isRunning());
    server.setListening(true);
    user.submitAgain(password);
    EXPECT_TRUE(eventually(20, [&] { return user.isSignedIn(); })) << user.program->output();
}

TEST(SignIn, SucceedsAfterTheAccountIsConfirmed) {
    TestServer server;
    Accounts accounts(server);
    accounts.addUnconfirmed(email, password);
    SignedOutUser user(server);
    user.submit(email, password);
    ASSERT_TRUE(eventually(20, [&] { return accounts.counts().refusedSignIns == 1; }));
    EXPECT_FALSE(user.isSignedIn());
    accounts.confirm(email);
    pauseMilliseconds(500);
    user.submitAgain(password);
    EXPECT_TRUE(eventually(20, [&] { return user.isSignedIn(); })) << user.program->output();
}

} // namespace sonvale::tests
