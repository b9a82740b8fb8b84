#include "adapters/x11/keys/X11EventTap.h"

#include "tests/contract/x11/AccessibleSession.h"
#include "tests/support/TapRecorder.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace sonvale::tests {

namespace {

using Program = Editor::Program;
using Text = std::optional<std::string>;

/// A call ends by itself after a tenth of a second; a busy machine may need longer.
constexpr double maxSeconds = 5;

class X11SelectedText : public testing::Test {
protected:
    Text timed() {
        const double before = monotonicSeconds();
        auto text = session.tree().selectedText();
        seconds = monotonicSeconds() - before;
        return text;
    }

    AccessibleSession session;
    double seconds = 0;
};

/// A bus that accepts connections and never answers.
class SilentBus {
public:
    SilentBus() {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        path().copy(place.sun_path, sizeof place.sun_path - 1);
        if (bind(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
            listen(socket_, 3) != 0)
            throw std::runtime_error("no socket");
    }
    ~SilentBus() { close(socket_); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    std::string path() const { return directory_.path() + "/bus"; }

    bool hasClient() const {
        pollfd poll{.fd = socket_, .events = POLLIN, .revents = 0};
        return ::poll(&poll, 1, 0) == 1;
    }

private:
    TemporaryDirectory directory_;
    int socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

int openDescriptors() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<int>(std::distance(begin(files), end(files)));
}

} // namespace

TEST_F(X11SelectedText, IsReadFromAQtEditor) {
    session.turnOnForAll();
    const std::string text = "  eins zwei\n\ndrei \u00FC \U0001F44D";
    session.open(Program::featherpad, text);
    ASSERT_TRUE(session.selectsAll(text)) << session.tree().selectedText().value_or("nothing");
    session.keyboard().tap(XK_End);
    EXPECT_TRUE(session.waitForText(std::nullopt));
}

TEST_F(X11SelectedText, IsCompleteAtAnyLength) {
    std::string text;
    while (text.size() < 500000)
        text += "line " + std::to_string(text.size()) + "\n";
    session.open(Program::mousepad, text);
    ASSERT_TRUE(session.selectsAll(text));
}

TEST_F(X11SelectedText, IsOnlyThePartThatIsSelected) {
    session.open(Program::mousepad, "one two three");
    session.keyboard().tap(XK_Home);
    session.keyboard().down(XK_Shift_L);
    for (int i = 0; i < 4; ++i)
        session.keyboard().tap(XK_Right);
    session.keyboard().up(XK_Shift_L);
    EXPECT_TRUE(session.waitForText("one "));
}

TEST_F(X11SelectedText, IsReadFromTheWindowInFront) {
    session.open(Program::mousepad, "behind");
    ASSERT_TRUE(session.selectsAll("behind"));
    Editor front(Editor::Options{session.display(), Program::mousepad, "", session.environment(), {}});
    EXPECT_TRUE(session.waitForText(std::nullopt));
    ASSERT_TRUE(session.editor().focus());
    EXPECT_TRUE(session.waitForText("behind"));
}

TEST_F(X11SelectedText, IsAbsentIfTheEditorDoesNotReportIt) {
    session.open(Program::mousepad, "one two", false);
    session.selectAll();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(timed(), std::nullopt);
        EXPECT_LT(seconds, maxSeconds);
    }
}

TEST_F(X11SelectedText, IsAbsentIfTheTextContainsAPicture) {
    session.open(Program::mousepad, "one \uFFFC two");
    session.selectAll();
    pauseMilliseconds(500);
    EXPECT_EQ(timed(), std::nullopt);
    session.keyboard().tap(XK_Home);
    session.keyboard().chord(XK_Shift_L, XK_Right);
    EXPECT_TRUE(session.waitForText("o"));
}

TEST_F(X11SelectedText, DoesNotWaitForAHangingEditor) {
    for (const auto program : {Program::mousepad, Program::featherpad}) {
        session.turnOnForAll();
        session.open(program, "one two");
        ASSERT_TRUE(session.selectsAll("one two"));
        kill(session.editor().pid(), SIGSTOP);
        session.useProgramTimes();
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(timed(), std::nullopt);
            EXPECT_LT(seconds, maxSeconds);
        }
        session.goSlowly();
        kill(session.editor().pid(), SIGCONT);
        EXPECT_TRUE(session.waitForText("one two")) << "late answers are not taken for others";
    }
}

TEST_F(X11SelectedText, DoesNotWaitForAHangingBus) {
    const PrivateDisplay display(WindowManager::openbox);
    const Editor editor(display.name(), Program::mousepad);
    const SilentBus bus;
    const runtime::SystemClock clock;
    adapters::x11::X11AccessibilityTree tree(clock, display.name(), "unix:path=" + bus.path());
    // On a busy machine the display may use up the time of the first calls.
    ASSERT_TRUE(eventually(10, [&] {
        EXPECT_EQ(tree.selectedText(), std::nullopt);
        return bus.hasClient();
    }));
    const int descriptors = openDescriptors();
    for (int i = 0; i < 10; ++i) {
        const double before = monotonicSeconds();
        EXPECT_EQ(tree.selectedText(), std::nullopt);
        EXPECT_LT(monotonicSeconds() - before, maxSeconds);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(X11SelectedText, IsAbsentWithoutABusAndStartsNone) {
    session.open(Program::mousepad, "one two", false);
    session.selectAll();
    EXPECT_EQ(timed(), std::nullopt);
    EXPECT_NE(session.call({"--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus.GetNameOwner", "string:org.a11y.Bus"}),
              0);

    const runtime::SystemClock clock;
    adapters::x11::X11AccessibilityTree lonely(clock, session.display(), "unix:path=/nowhere/bus");
    EXPECT_EQ(lonely.selectedText(), std::nullopt);
    adapters::x11::X11AccessibilityTree confused(clock, session.display(), "no address at all");
    EXPECT_EQ(confused.selectedText(), std::nullopt);
    adapters::x11::X11AccessibilityTree blind(clock, ":65000", "unix:path=/nowhere/bus");
    EXPECT_EQ(blind.selectedText(), std::nullopt);
}

TEST_F(X11SelectedText, FindsTheBusThroughTheSessionIfTheDisplayDoesNotNameIt) {
    session.open(Program::mousepad, "one two");
    ASSERT_EQ(run({"xprop", "-root", "-remove", "AT_SPI_BUS"}, session.environment()), 0);
    EXPECT_TRUE(session.selectsAll("one two"));
}

TEST_F(X11SelectedText, IsReadAgainAfterTheBusWasReplaced) {
    session.open(Program::mousepad, "one two");
    ASSERT_TRUE(session.selectsAll("one two"));
    // The bus ends with the program that has started it.
    ASSERT_EQ(run({"sh", "-c",
                   "kill $(dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus "
                   "/org/freedesktop/DBus org.freedesktop.DBus.GetConnectionUnixProcessID "
                   "string:org.a11y.Bus | sed 's/.* //')"},
                  session.environment()),
              0);
    EXPECT_TRUE(session.waitForText(std::nullopt));
    session.open(Program::mousepad, "three");
    ASSERT_TRUE(session.selectsAll("three"));
}

TEST_F(X11SelectedText, IsTheMarkedTextOfAnXterm) {
    session.open(Program::xterm, {}, true, "echo 'marked na\u00EFve'; : > FILE; exec sleep 1000");
    EXPECT_TRUE(session.waitForText(std::nullopt));
    pauseMilliseconds(1000);
    EXPECT_EQ(timed(), std::nullopt);
    session.editor().markFirstWord();
    EXPECT_TRUE(session.waitForText("marked"));

    Editor other(Editor::Options{session.display(), Program::mousepad, "", session.environment(), {}});
    EXPECT_TRUE(session.waitForText(std::nullopt)) << "it is the text of a window in the background";
    ASSERT_TRUE(session.editor().focus());
    kill(session.editor().pid(), SIGSTOP);
    session.useProgramTimes();
    EXPECT_EQ(timed(), std::nullopt);
    EXPECT_LT(seconds, maxSeconds);
    session.goSlowly();
    kill(session.editor().pid(), SIGCONT);
    EXPECT_TRUE(session.waitForText("marked"));
}

TEST_F(X11SelectedText, IsReadDuringASwallowedHotkey) {
    session.turnOnForAll();
    for (const auto program : {Program::mousepad, Program::featherpad}) {
        const runtime::SystemClock clock;
        TapRecorder recorder;
        const platform::KeyCombination shortcut{49, platform::modifier::option};
        recorder.swallow(shortcut);
        adapters::x11::X11EventTap tap(clock, std::make_shared<adapters::x11::SyntheticKeyLedger>(),
                                       session.display());
        tap.setSwallowable({shortcut});
        ASSERT_TRUE(tap.start(recorder.callback()));
        session.open(program, "one two");
        ASSERT_TRUE(session.selectsAll("one two"));
        for (int i = 0; i < 10; ++i) {
            recorder.clear();
            session.keyboard().down(XK_Alt_L);
            session.keyboard().down(XK_space);
            EXPECT_TRUE(eventually(5, [&] {
                return recorder.has({platform::KeyEvent::Type::keyDown, 49, platform::modifier::option});
            }));
            EXPECT_EQ(session.tree().selectedText(), "one two");
            session.keyboard().up(XK_space);
            session.keyboard().up(XK_Alt_L);
        }
        tap.stop();
    }
}

TEST_F(X11SelectedText, IsReadEveryTime) {
    session.turnOnForAll();
    for (const auto program : {Program::mousepad, Program::featherpad}) {
        session.open(program, "one two");
        ASSERT_TRUE(session.selectsAll("one two"));
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(session.tree().selectedText(), "one two");
    }
}

} // namespace sonvale::tests
