#include "tests/e2e/Onboarding.h"
#include "tests/e2e/ScreenReader.h"
#include "tests/e2e/Session.h"
#include "tests/support/Accounts.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

constexpr const char* email = "ann@example.com";
constexpr const char* path = "/api/support-chat";

/// A signed-in user with the open help tab.
class SupportSession {
public:
    SupportSession()
        : accounts_(server)
        , session_(options())
        , reader(session_.desktop) {
        session_.program.reopen();
        DashboardOnScreen(session_.desktop).activate();
        reader.press("Help", "");
    }

    void ask(const std::string& question) {
        reader.focus("Describe your issue...");
        session_.keyboard.type(question);
        session_.keyboard.tap(XK_Return);
    }

    TestServer server;

private:
    Session::Options options() {
        accounts_.add(email, "correct horse");
        const auto tokens = accounts_.signIn(email);
        const base::Json settings{{"isOnboardingComplete", true},
                                  {"transcriptionEngine", "local"},
                                  {"aiProcessingEnabled", false},
                                  {"com.sonvale.accessToken", tokens.access},
                                  {"com.sonvale.refreshToken", tokens.refresh},
                                  {"com.sonvale.userEmail", email}};
        Session::Options options;
        options.isAccessible = true;
        options.prepare = [text = settings.dump()](PrivateDesktop& desktop) {
            RunningProgram::writeSettings(desktop, text);
        };
        options.program.info = {{"BACKEND_URL", server.url()}, {"CFBundleShortVersionString", "1.0"}};
        return options;
    }

    Accounts accounts_;
    Session session_;

public:
    ScreenReader reader;
};

} // namespace

TEST(SupportChat, ShowsTheAnswerPieceByPieceAndEndsIfTheConnectionStaysOpen) {
    SupportSession session;
    auto answer = chatStream({"One ", "two ", "three ", "four."}, 2);
    answer.fault = Answer::Fault::neverEnds;
    session.server.answer(path, answer);
    session.ask("what now");

    bool hasGrown = false;
    const bool isWhole = eventually(60, [&] {
        const auto seen = session.reader.read();
        hasGrown = hasGrown || (seen.find("Support: One") != std::string::npos &&
                                seen.find("four.") == std::string::npos);
        return seen.find("Support: One two three four.") != std::string::npos;
    });
    EXPECT_TRUE(isWhole) << session.reader.read();
    EXPECT_TRUE(hasGrown);
    EXPECT_TRUE(session.reader.waitForText("You: what now", 10));
    EXPECT_TRUE(session.server.waitForOpenConnections(0, 10)) << "the program does not wait for more";

    const auto requests = session.server.requests(path);
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].header("Authorization").substr(0, 7), "Bearer ");
    EXPECT_EQ(requests[0].header("X-App-Version"), "");
    EXPECT_EQ(
        base::Json::parse(requests[0].body),
        (base::Json{{"messages", {{{"role", "user"}, {"content", "what now"}}}}, {"variant", "support"}}));
}

TEST(SupportChat, KeepsTheReceivedPartOfABrokenAnswer) {
    SupportSession session;
    auto answer = chatStream({"One ", "two "}, 0.2);
    answer.pieces.resize(answer.pieces.size() - 2); // drops its end
    answer.fault = Answer::Fault::breaksOff;
    session.server.answer(path, answer);
    session.ask("what now");
    EXPECT_TRUE(
        session.reader.waitForText("Something went wrong. Please check your connection and try again.", 30))
        << session.reader.read();
    EXPECT_TRUE(session.reader.waitForText("Support: One two", 10)) << session.reader.read();

    session.server.forget(path);
    session.server.answer(path, chatStream({"Again."}));
    session.ask("and now");
    EXPECT_TRUE(session.reader.waitForText("Support: Again.", 30)) << session.reader.read();
    EXPECT_TRUE(session.reader.waitForNoText("Something went wrong.", 10));
}

} // namespace sonvale::tests
