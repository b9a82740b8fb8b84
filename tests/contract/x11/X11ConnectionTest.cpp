#include "adapters/x11/X11Connection.h"

#include "adapters/x11/keys/X11Keyboards.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/XcbSession.h"

#include <gmock/gmock.h>

#include <csignal>
#include <limits>
#include <thread>

namespace sonvale::adapters::x11 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class X11ConnectionTest : public testing::Test {
protected:
    double inTime() const { return clock.now() + 20; }

    tests::PrivateDisplay display;
    runtime::SystemClock clock;
    X11Connection connection{display.name(), clock};
};

std::uint32_t windowsOf(X11Connection& connection, double deadline) {
    const auto tree = connection.reply<xcb_query_tree_reply_t>(
        xcb_query_tree(connection.raw(), connection.root()), deadline);
    return tree ? tree->children_len : 0;
}

} // namespace

TEST(X11ConnectionWithoutServer, ReturnsEmptyResults) {
    runtime::SystemClock clock;
    X11Connection connection(":4711", clock);
    const double deadline = connection.deadlineIn(20);
    EXPECT_FALSE(connection.isAlive());
    EXPECT_EQ(connection.window(), xcb_window_t{XCB_WINDOW_NONE});
    EXPECT_FALSE(connection.synchronize(deadline));
    EXPECT_EQ(connection.property(1, XCB_ATOM_WM_CLASS, deadline), nullptr);
    EXPECT_EQ(connection.atom("CLIPBOARD", deadline), xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_EQ(connection.selectionOwner(XCB_ATOM_PRIMARY, deadline), std::nullopt);
    EXPECT_EQ(connection.timestamp(deadline), std::nullopt);
    EXPECT_EQ(connection.waitForEvent(std::numeric_limits<double>::infinity()), nullptr);
    EXPECT_EQ(useKeyboardExtensions(connection), std::nullopt);
}

TEST_F(X11ConnectionTest, MakesItsWindowAtTheFirstCall) {
    EXPECT_EQ(windowsOf(connection, inTime()), 0u);
    const auto window = connection.window();
    EXPECT_EQ(connection.window(), window);
    EXPECT_EQ(windowsOf(connection, inTime()), 1u);
    EXPECT_NE(connection.makeWindow(), window);
    EXPECT_EQ(windowsOf(connection, inTime()), 2u);
}

TEST_F(X11ConnectionTest, ReadsPropertiesByTheirFormat) {
    tests::XcbSession other(display.name());
    const std::uint32_t numbers[] = {7, 8, 9};
    xcb_change_property(other.connection(), XCB_PROP_MODE_REPLACE, other.window(), XCB_ATOM_WM_HINTS,
                        XCB_ATOM_CARDINAL, 32, 3, numbers);
    xcb_change_property(other.connection(), XCB_PROP_MODE_REPLACE, other.window(), XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 4, "name");
    other.sync();

    const auto hints = connection.property(other.window(), XCB_ATOM_WM_HINTS, inTime());
    EXPECT_THAT(numbersOf(hints), ElementsAre(7, 8, 9));
    EXPECT_EQ(textOf(hints), "");
    const auto name = connection.property(other.window(), XCB_ATOM_WM_NAME, inTime());
    EXPECT_EQ(textOf(name), "name");
    EXPECT_EQ(bytesOf(name), tests::bytes("name"));
    EXPECT_THAT(numbersOf(name), IsEmpty());

    const auto absent = connection.property(other.window(), XCB_ATOM_WM_ICON_NAME, inTime());
    ASSERT_NE(absent, nullptr);
    EXPECT_EQ(absent->type, xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_THAT(bytesOf(absent), IsEmpty());
}

TEST_F(X11ConnectionTest, DeletesThePropertyThatItTakes) {
    const auto window = connection.window();
    xcb_change_property(connection.raw(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        4, "name");
    EXPECT_EQ(textOf(connection.property(window, XCB_ATOM_WM_NAME, inTime())), "name");
    EXPECT_EQ(textOf(connection.takeProperty(window, XCB_ATOM_WM_NAME, inTime())), "name");
    EXPECT_EQ(textOf(connection.property(window, XCB_ATOM_WM_NAME, inTime())), "");
}

TEST_F(X11ConnectionTest, HasNoReplyToARefusedRequest) {
    constexpr xcb_window_t noSuchWindow = 0x1234567;
    EXPECT_EQ(connection.property(noSuchWindow, XCB_ATOM_WM_CLASS, inTime()), nullptr);
    EXPECT_TRUE(connection.synchronize(inTime())) << "the connection is still usable";
}

TEST_F(X11ConnectionTest, TranslatesAtomsAndTheirNames) {
    const auto atoms = connection.atoms({"CLIPBOARD", "", "_SONVALE_TEST"}, inTime());
    ASSERT_EQ(atoms.size(), 3u);
    EXPECT_NE(atoms[0], xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_EQ(atoms[1], xcb_atom_t{XCB_ATOM_NONE});
    EXPECT_EQ(connection.atom("_SONVALE_TEST", inTime()), atoms[2]);

    X11Connection other(display.name(), clock);
    EXPECT_THAT(other.atomNames(atoms, inTime()), ElementsAre("CLIPBOARD", "", "_SONVALE_TEST"));
}

TEST_F(X11ConnectionTest, DistinguishesAnUnownedSelectionFromAMissingAnswer) {
    EXPECT_EQ(connection.selectionOwner(XCB_ATOM_PRIMARY, inTime()), xcb_window_t{XCB_WINDOW_NONE});
    EXPECT_FALSE(hasOwner(connection, XCB_ATOM_PRIMARY, inTime()));
    xcb_set_selection_owner(connection.raw(), connection.window(), XCB_ATOM_PRIMARY,
                            connection.timestamp(inTime()).value());
    EXPECT_EQ(connection.selectionOwner(XCB_ATOM_PRIMARY, inTime()), connection.window());
    EXPECT_TRUE(hasOwner(connection, XCB_ATOM_PRIMARY, inTime()));

    display.signalServer(SIGSTOP);
    EXPECT_EQ(connection.selectionOwner(XCB_ATOM_PRIMARY, connection.deadlineIn(0.05)), std::nullopt);
    EXPECT_FALSE(hasOwner(connection, XCB_ATOM_PRIMARY, connection.deadlineIn(0.05)));
    display.signalServer(SIGCONT);
}

TEST_F(X11ConnectionTest, KeepsTheEventsThatArriveBeforeAReply) {
    const auto window = connection.window();
    xcb_change_property(connection.raw(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        4, "name");
    ASSERT_TRUE(connection.timestamp(inTime()).has_value());
    const auto event = connection.takeEvent();
    ASSERT_NE(event, nullptr);
    ASSERT_EQ(event->response_type & 0x7f, XCB_PROPERTY_NOTIFY);
    EXPECT_EQ(reinterpret_cast<const xcb_property_notify_event_t&>(*event).atom,
              xcb_atom_t{XCB_ATOM_WM_NAME});
    EXPECT_EQ(connection.takeEvent(), nullptr) << "the event of the timestamp is consumed";
}

TEST_F(X11ConnectionTest, StopsWaitingAtTheDeadline) {
    display.signalServer(SIGSTOP);
    const double before = clock.now();
    EXPECT_FALSE(connection.synchronize(before + 0.1));
    EXPECT_EQ(connection.waitForEvent(before + 0.2), nullptr);
    EXPECT_GE(clock.now(), before + 0.2);
    display.signalServer(SIGCONT);
    EXPECT_TRUE(connection.isAlive());
    EXPECT_TRUE(connection.synchronize(inTime()));
}

TEST_F(X11ConnectionTest, EndsAWaitWhenAnotherThreadDisconnects) {
    std::thread waiting([this] {
        while (connection.isAlive())
            connection.waitForInput(-1, std::numeric_limits<double>::infinity());
    });
    connection.disconnect();
    waiting.join();
    EXPECT_FALSE(connection.isAlive());
}

TEST_F(X11ConnectionTest, StopsWaitingForInputWhenTheServerEnds) {
    display.signalServer(SIGSTOP);
    std::thread waiting([this] {
        while (connection.isAlive())
            connection.waitForInput(-1, std::numeric_limits<double>::infinity());
    });
    display.signalServer(SIGKILL);
    waiting.join();
    EXPECT_FALSE(connection.synchronize(inTime()));
}

TEST_F(X11ConnectionTest, AnnouncesTheKeyboardExtensions) {
    const auto extensions = useKeyboardExtensions(connection);
    ASSERT_TRUE(extensions.has_value());
    EXPECT_GE(extensions->inputOpcode, 128) << "extensions have the opcodes from 128";
    EXPECT_GE(extensions->inputFirstEvent, 64) << "extensions have the events from 64";
    EXPECT_GE(extensions->xkbFirstEvent, 64);
}

TEST(X11Keyboards, AreNotUsableWithoutXTest) {
    tests::PrivateDisplay display(tests::WindowManager::none, {"-extension", "XTEST"});
    runtime::SystemClock clock;
    X11Connection connection(display.name(), clock);
    EXPECT_EQ(useKeyboardExtensions(connection), std::nullopt);
}

TEST(X11Keyboards, ReadsTheKeysThatAreDown) {
    xcb_query_keymap_reply_t keymap{};
    keymap.keys[1] = 1 << 1;
    keymap.keys[31] = 1 << 7;
    const auto down = keysDownIn(keymap);
    EXPECT_EQ(down.count(), 2u);
    EXPECT_TRUE(down.test(9));
    EXPECT_TRUE(down.test(255));
}

} // namespace sonvale::adapters::x11
