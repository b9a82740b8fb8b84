#include "persistence/ModelContainer.h"
#include "tests/e2e/Session.h"
#include "tests/support/Files.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr const char* email = "ann@example.com";
constexpr const char* chat = "/api/chat";
constexpr const char* refresh = "/auth/refresh";

/// The user of a program whose backend runs on this machine.
struct Account {
    std::string accessToken = tests::accessToken(email, 3600);
    std::string refreshToken = "refresh-of-the-last-launch";
    std::map<std::string, base::Json> settings = {};                ///< additional settings
    std::function<void(persistence::ModelContext&)> fillStore = {}; ///< adds the data of earlier runs
    std::vector<std::string> launcher = {};
};

Session::Options with(const TestServer& server, const Account& account) {
    Session::Options options;
    options.prepare = [account](PrivateDesktop& desktop) {
        base::Json settings{{"isOnboardingComplete", true},
                            {"transcriptionEngine", "streaming"},
                            {"com.sonvale.accessToken", account.accessToken},
                            {"com.sonvale.refreshToken", account.refreshToken},
                            {"com.sonvale.userEmail", email}};
        for (const auto& [key, value] : account.settings)
            settings[key] = value;
        RunningProgram::writeSettings(desktop, settings.dump());
        if (account.fillStore) {
            const auto store = persistence::ModelContainer::open(desktop.data());
            account.fillStore(store->mainContext());
            store->mainContext().save();
        }
    };
    options.program.info = {{"BACKEND_URL", server.url()},
                            {"OPENAI_BASE_URL", server.url()},
                            {"CFBundleShortVersionString", "2.5"}};
    options.program.launcher = account.launcher;
    return options;
}

/// Makes the server transcribe `said` and answer the clean-up with `cleaned`.
void serve(TestServer& server, const std::string& said, const Answer& cleaned) {
    Realtime realtime;
    realtime.transcript = said;
    realtime.token = "ek_of_this_test";
    server.setRealtime(realtime);
    server.answer("/api/realtime/session", ephemeralToken(realtime.token));
    server.answer(chat, cleaned);
}

std::string promptOf(const Request& request) {
    return base::Json::parse(request.body).at("messages").at(0).at("content");
}

/// Sets the class of the window in front, which names its program.
void nameFrontWindow(Session& session, const std::string& instance, const std::string& className) {
    const int status =
        run({"xdotool", "getactivewindow", "set_window", "--classname", instance, "--class", className},
            session.desktop.environment());
    ASSERT_EQ(status, 0);
}

/// Gives the program a separate network whose only link is its loopback.
const std::vector<std::string> ownNetwork = {
    "unshare", "--map-root-user", "--net", "sh", "-c", R"(ip link set lo up && exec "$0")"};

std::uint64_t loopbackPackets(const RunningProgram& program) {
    const auto links = contentOf("/proc/" + std::to_string(program.pid()) + "/net/dev");
    const auto loopback = links.find("lo:");
    if (loopback == std::string::npos)
        throw std::runtime_error("the program has no loopback:\n" + links);
    std::istringstream counters(links.substr(loopback + 3));
    std::uint64_t bytes = 0;
    std::uint64_t packets = 0;
    counters >> bytes >> packets;
    return packets;
}

base::Json settingsOf(const Session& session) {
    return base::Json::parse(
        contentOf(session.desktop.configuration() / "com.sonvale.app" / "defaults.json"));
}

} // namespace

TEST(CleanUp, UsesTheStyleOfAMailProgram) {
    Account account;
    account.fillStore = [](persistence::ModelContext& store) {
        store.insert(persistence::WritingStyle{
            .category = "email", .formality = 5, .customInstructions = "Sign as Ann"});
        store.insert(persistence::DictionaryEntry{.word = "Sonvale"});
    };
    TestServer server;
    serve(server, "um dear all i will be late", chatCompletion("Dear all, I will be late."));
    Session session(with(server, account));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    nameFrontWindow(session, "Mail", "thunderbird");

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("Dear all, I will be late.", 10)) << session.program.output();
    const auto asked = server.requests(chat);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].header("Authorization"), "Bearer " + account.accessToken);
    EXPECT_EQ(asked[0].header("X-App-Version"), "2.5");
    EXPECT_NE(promptOf(asked[0]).find("into a email application"), std::string::npos);
    EXPECT_NE(promptOf(asked[0]).find("Formal — no contractions"), std::string::npos);
    EXPECT_NE(promptOf(asked[0]).find("Sign as Ann"), std::string::npos);
    EXPECT_NE(promptOf(asked[0]).find("[Sonvale]"), std::string::npos);

    const auto rows = session.program.history();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].rawText, "um dear all i will be late");
    EXPECT_EQ(rows[0].processedText, "Dear all, I will be late.");
    EXPECT_EQ(rows[0].wordCount, 6);
    EXPECT_EQ(session.program.auditCount("aiProcessingRequested"), 1U);
    EXPECT_EQ(session.program.auditCount("aiProcessingReceived"), 1U);
}

TEST(CleanUp, InsertsTheRawTextAfterFiveSeconds) {
    TestServer server;
    auto slow = chatCompletion("Too late.");
    slow.delaySeconds = 6;
    serve(server, "words as they were said", slow);
    Session session(with(server, Account{}));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("words as they were said", 10)) << session.program.output();
    const auto timeouts = session.program.timings("AI processing timed out after ");
    ASSERT_EQ(timeouts.size(), 1U) << session.program.output();
    EXPECT_NEAR(std::stod(timeouts[0]), 5000, 400);
    const auto total = session.program.timings("stopDictation total: ");
    ASSERT_EQ(total.size(), 1U);
    EXPECT_NEAR(std::stod(total[0]), 5400, 600) << "includes the insertion";
    pauseMilliseconds(1500);
    EXPECT_EQ(session.editor.savedText(), "words as they were said");
}

TEST(CleanUp, InsertsTheRawTextIfTheModelAnswersIt) {
    TestServer server;
    serve(server, "what is the capital of france", chatCompletion("Paris."));
    Session session(with(server, Account{}));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("what is the capital of france", 10)) << session.program.output();
    EXPECT_EQ(server.requests(chat).size(), 1U);
}

TEST(CleanUp, InsertsTheRawTextIfTheModelFails) {
    TestServer server;
    serve(server, "words as they were said", backendError(503, "overloaded"));
    Session session(with(server, Account{}));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("words as they were said", 10)) << session.program.output();
    EXPECT_EQ(session.program.timings("AI processing failed after ").size(), 1U);
}

TEST(CleanUp, InsertsASnippetUntouched) {
    Account account;
    account.fillStore = [](persistence::ModelContext& store) {
        store.insert(
            persistence::Snippet{.trigger = "my address", .content = "um, 1 Main Street,  Springfield"});
    };
    TestServer server;
    serve(server, "Please put in my address.", chatCompletion("never"));
    Session session(with(server, account));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.holdToTalk();
    session.speak(voices().front());
    session.keyboard.up(XK_Alt_L);
    session.waitForRingToHide();

    EXPECT_TRUE(session.editor.comesToHold("um, 1 Main Street,  Springfield", 10))
        << session.program.output();
    EXPECT_TRUE(server.requests(chat).empty());
    EXPECT_TRUE(session.program.history().empty());
    EXPECT_TRUE(session.program.timings("stopDictation total: ").empty());
}

TEST(CleanUp, WritesNoHistoryInPrivacyMode) {
    Account account;
    account.settings = {{"privacyModeEnabled", true}};
    TestServer server;
    serve(server, "um private words", chatCompletion("Private words."));
    Session session(with(server, account));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("Private words.", 10)) << session.program.output();
    EXPECT_TRUE(session.program.history().empty());
}

TEST(CleanUp, SendsNoRequestInLocalOnlyMode) {
    const auto& voice = voices().front();
    Account account;
    account.settings = {{"localOnlyMode", true}};
    TestServer server;
    serve(server, "never", chatCompletion("never"));
    Session session(with(server, account));

    session.dictate(voice);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.program.output();
    EXPECT_EQ(server.connections(), 0);
}

TEST(CleanUp, SendsNoPacketInLocalOnlyMode) {
    const auto& voice = voices().front();
    Account account;
    account.accessToken = accessToken(email, -10);
    account.settings = {{"localOnlyMode", true}, {"transcriptionEngine", "hybrid"}};
    account.launcher = ownNetwork;
    const TestServer server;
    {
        Session session(with(server, account));
        session.dictate(voice);
        EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.program.output();
        EXPECT_EQ(loopbackPackets(session.program), 0U);
    }
    // Without the mode, the same dictation is visible there.
    account.settings = {{"transcriptionEngine", "hybrid"}};
    Session session(with(server, account));
    EXPECT_TRUE(eventually(20, [&] { return loopbackPackets(session.program) > 0; }))
        << session.program.output();
}

TEST(CleanUp, RefreshesTheTokenOnceForConcurrentRequests) {
    const auto fresh = accessToken(email, 3600);
    TestServer server;
    serve(server, "never", chatCompletion("From the file."));
    server.answerBy("/api/transcribe", [](const Request&) { return plainTranscript("um from the file"); });
    server.answer(refresh, {.body = base::Json{{"access_token", fresh},
                                               {"refresh_token", "rotated"},
                                               {"user", {{"email", email}}}}
                                        .dump(),
                            .delaySeconds = 12});
    Account account;
    account.accessToken = accessToken(email, 30);
    Session session(with(server, account));
    ASSERT_TRUE(server.waitForRequests(refresh, 1, 20)) << session.program.output();

    // The pre-warmed session, the session of the recording and the upload of its file wait for the token.
    session.keyboard.down(XK_Alt_L);
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 1; }));
    session.speak(voices().front());
    session.keyboard.up(XK_Alt_L);
    ASSERT_TRUE(session.program.waitForTimings("stopDictation → finalize: ", 1, 5))
        << session.program.output();
    EXPECT_TRUE(server.requests("/api/transcribe").empty());

    session.waitForRingToHide();
    EXPECT_TRUE(session.editor.comesToHold("From the file.", 20)) << session.program.output();
    EXPECT_EQ(server.requests(refresh).size(), 1U);
    EXPECT_EQ(server.requests(refresh)[0].header("Authorization"), "");
    for (const auto* path : {"/api/transcribe", chat}) {
        ASSERT_EQ(server.requests(path).size(), 1U) << path;
        EXPECT_EQ(server.requests(path)[0].header("Authorization"), "Bearer " + fresh);
    }

    const auto settings = settingsOf(session);
    EXPECT_EQ(settings.at("com.sonvale.accessToken"), fresh);
    EXPECT_EQ(settings.at("com.sonvale.refreshToken"), "rotated");
    EXPECT_EQ(modeOf(session.desktop.configuration() / "com.sonvale.app" / "defaults.json"), 0600U);
    const auto environment = contentOf("/proc/" + std::to_string(session.program.pid()) + "/environ");
    const auto log = contentOf(session.desktop.data() / "com.sonvale.app" / "audit.log");
    ASSERT_FALSE(environment.empty());
    ASSERT_FALSE(log.empty());
    for (const auto& secret : {fresh, account.accessToken, account.refreshToken, std::string("rotated"),
                               std::string("ek_of_this_test")}) {
        EXPECT_EQ(session.program.output().find(secret), std::string::npos);
        EXPECT_EQ(log.find(secret), std::string::npos);
        EXPECT_EQ(environment.find(secret), std::string::npos);
    }
}

TEST(CleanUp, KeepsTheSessionIfTheBackendFailsAndEndsItIfTheBackendRefuses) {
    const auto& voice = voices().front();
    TestServer server;
    server.answer(refresh, backendError(500, "out of order"));
    Account account;
    account.accessToken = accessToken(email, -100);
    account.settings = {{"transcriptionEngine", "local"}};
    Session session(with(server, account));

    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.program.output();
    ASSERT_TRUE(server.waitForRequests(refresh, 1, 5));
    EXPECT_EQ(settingsOf(session).at("com.sonvale.refreshToken"), account.refreshToken);

    server.forget(refresh);
    server.answer(refresh, backendError(401, "revoked"));
    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(voice.sentence + voice.sentence, 10)) << session.program.output();
    ASSERT_TRUE(server.waitForRequests(refresh, 2, 5));
    for (const auto* key : {"com.sonvale.accessToken", "com.sonvale.refreshToken", "com.sonvale.userEmail"})
        EXPECT_FALSE(settingsOf(session).contains(key)) << key;

    session.dictate(voice);
    EXPECT_EQ(server.requests(refresh).size(), 2U) << "the user is signed out";
    EXPECT_TRUE(server.requests(chat).empty());
}

} // namespace sonvale::tests
