#include "adapters/x11/selections/X11SelectionFetch.h"

#include "adapters/x11/X11Connection.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"

#include <gmock/gmock.h>

namespace sonvale::adapters::x11 {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::bytes;
using tests::manyBytes;
using tests::SelectionOwner;

class X11SelectionFetchTest : public testing::Test {
protected:
    /// Fetches the clipboard until everything has arrived or was given up. Returns false if that takes too
    /// long.
    bool fetch(X11SelectionFetch& fetch) {
        const double end = clock.now() + 20;
        fetch.start(connection.atom("CLIPBOARD", end), connection.timestamp(end).value());
        while (!fetch.isComplete() && clock.now() < end) {
            if (const auto event = connection.waitForEvent(std::min(end, fetch.nextDeadline())))
                fetch.handle(*event);
            fetch.advance();
        }
        return fetch.isComplete();
    }

    static std::vector<std::string> namesOf(const std::vector<X11SelectionFetch::Arrived>& forms) {
        std::vector<std::string> names;
        for (const auto& form : forms)
            names.push_back(form.representation.type);
        return names;
    }

    tests::PrivateDisplay display;
    runtime::SystemClock clock;
    X11Connection connection{display.name(), clock};
};

} // namespace

TEST_F(X11SelectionFetchTest, KeepsItsMemoryLimit) {
    X11SelectionFetch fetch(connection, clock, {.maxBytes = 1 << 20});
    SelectionOwner owner(display.name(),
                         {{.target = "UTF8_STRING", .data = manyBytes(400 << 10)},
                          {.target = "image/png", .data = manyBytes(8 << 20), .isIncremental = true},
                          {.target = "application/x-large", .data = manyBytes(900 << 10)},
                          {.target = "application/x-small", .data = manyBytes(100 << 10)}});
    ASSERT_TRUE(this->fetch(fetch));
    EXPECT_THAT(namesOf(fetch.takeArrived()), ElementsAre("UTF8_STRING", "application/x-small"));
    EXPECT_THAT(fetch.missing(), ElementsAre("image/png", "application/x-large"));
}

TEST_F(X11SelectionFetchTest, ContinuesWithTheNextFormIfOneIsNotSent) {
    X11SelectionFetch fetch(connection, clock, {.silenceSeconds = 0.5});
    SelectionOwner owner(display.name(),
                         {{.target = "UTF8_STRING", .isNeverAnswered = true},
                          {.target = "image/png", .data = bytes("png"), .isNeverFinished = true},
                          {.target = "application/x-own", .data = bytes("own")}});
    ASSERT_TRUE(this->fetch(fetch));
    EXPECT_THAT(namesOf(fetch.takeArrived()), ElementsAre("image/png", "application/x-own"));
    EXPECT_THAT(fetch.missing(), ElementsAre("UTF8_STRING"));
}

TEST_F(X11SelectionFetchTest, EndsIfTheOwnerListsNothing) {
    X11SelectionFetch fetch(connection, clock, {.silenceSeconds = 0.5});
    SelectionOwner owner(display.name(), {{"UTF8_STRING", bytes("text")}}, {.answersTargets = false});
    ASSERT_TRUE(this->fetch(fetch));
    EXPECT_FALSE(fetch.hasList());
    EXPECT_THAT(fetch.takeArrived(), IsEmpty());
}

TEST_F(X11SelectionFetchTest, EndsAfterItsTotalTime) {
    X11SelectionFetch fetch(connection, clock, {.silenceSeconds = 0.4, .totalSeconds = 1});
    std::vector<SelectionOwner::Form> forms;
    for (const auto* name : {"a", "b", "c", "d", "e", "f"})
        forms.push_back({.target = name, .isNeverAnswered = true});
    SelectionOwner owner(display.name(), forms);
    ASSERT_TRUE(this->fetch(fetch));
    EXPECT_EQ(fetch.missing().size(), 6u);
    EXPECT_EQ(owner.requests("f"), 0) << "it was not asked for any more";
}

TEST_F(X11SelectionFetchTest, DoesNotCountARefusedFormAsMissing) {
    X11SelectionFetch fetch(connection, clock, {});
    SelectionOwner owner(display.name(), {{"UTF8_STRING", bytes("text")}}, {.refusesTargets = true});
    ASSERT_TRUE(this->fetch(fetch));
    EXPECT_THAT(namesOf(fetch.takeArrived()), ElementsAre("UTF8_STRING"));
    EXPECT_THAT(fetch.missing(), IsEmpty());
    EXPECT_THAT(fetch.takeArrived(), IsEmpty()) << "each form is given once";
}

} // namespace sonvale::adapters::x11
