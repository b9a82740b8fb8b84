#include "adapters/x11/selections/X11SelectionServer.h"

#include "adapters/x11/X11Connection.h"

#include "runtime/ManualClock.h"
#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace sonvale::adapters::x11 {

namespace {

using tests::bytes;
using tests::SelectionOwner;
using tests::SelectionRequestor;

std::shared_ptr<const X11SelectionContents> megabyteOfText(X11Connection& connection, double deadline) {
    auto contents = X11SelectionContents::fromText(std::string(1 << 20, 'x'));
    contents.resolve(connection, deadline);
    return std::make_shared<const X11SelectionContents>(std::move(contents));
}

} // namespace

TEST(X11SelectionServer, FreesItsContentsWhenAnotherProgramTakesTheSelection) {
    tests::PrivateDisplay display;
    runtime::SystemClock clock;
    X11Connection connection(display.name(), clock);
    X11SelectionServer server(connection, clock);
    const auto inTime = [&clock] { return clock.now() + 5; };
    const auto selection = connection.atom("CLIPBOARD", inTime());
    auto contents = megabyteOfText(connection, inTime());
    const std::weak_ptr<const X11SelectionContents> held = contents;
    ASSERT_TRUE(server.claim(selection, std::move(contents), inTime()));
    ASSERT_FALSE(held.expired());

    SelectionOwner owner(display.name(), {{"UTF8_STRING", bytes("theirs")}});
    while (const auto event = connection.waitForEvent(clock.now() + 0.2))
        server.handle(*event);

    EXPECT_FALSE(server.owns(selection));
    EXPECT_TRUE(held.expired());
}

TEST(X11SelectionServer, DropsATransferWhoseReaderHasStopped) {
    tests::PrivateDisplay display;
    runtime::SystemClock realTime;
    runtime::ManualClock clock;
    X11Connection connection(display.name(), realTime);
    X11SelectionServer server(connection, clock);
    const double deadline = realTime.now() + 5;
    const auto selection = connection.atom("CLIPBOARD", deadline);
    ASSERT_TRUE(server.claim(selection, megabyteOfText(connection, deadline), deadline));
    SelectionRequestor reader(display.name());
    std::thread stopping([&reader] { reader.stallDuring("UTF8_STRING"); });
    while (const auto event = connection.waitForEvent(realTime.now() + 0.5))
        server.handle(*event);
    stopping.join();
    EXPECT_DOUBLE_EQ(server.nextDeadline(), clock.now() + 10);

    clock.advance(10);
    server.expire();
    EXPECT_EQ(server.nextDeadline(), std::numeric_limits<double>::infinity());
}

} // namespace sonvale::adapters::x11
