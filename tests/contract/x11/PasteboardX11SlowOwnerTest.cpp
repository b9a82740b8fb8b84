#include "tests/contract/x11/PasteboardX11Fixture.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace sonvale::adapters::x11 {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Lt;
using testing::Not;
using tests::bytes;
using tests::eventually;
using tests::manyBytes;
using tests::SelectionOwner;

} // namespace

/// Programs that need longer to send what they have copied than a dictation can wait.
class X11PasteboardWithSlowOwner : public X11PasteboardTest {
protected:
    /// Changes the clipboard as an insertion does.
    void insertBetweenSaveAndRestore(std::optional<std::vector<platform::PasteboardItem>> saved) {
        setText("dictated");
        EXPECT_EQ(otherProgram().convert("UTF8_STRING")->data, bytes("dictated"));
        pasteboard->clearContents();
        if (saved && !saved->empty())
            pasteboard->writeItems(*std::move(saved));
    }

    bool comesToOffer(const std::string& target, const std::vector<std::byte>& data) {
        auto other = otherProgram();
        return eventually(20, [&] {
            const auto answer = other.convert(target);
            return answer && answer->data == data;
        });
    }

    std::vector<std::string> offeredForms() {
        auto targets = otherProgram().targets();
        std::erase_if(targets, [](const std::string& name) {
            return name == "TARGETS" || name == "MULTIPLE" || name == "TIMESTAMP" || name == "SAVE_TARGETS";
        });
        return targets;
    }

    const std::vector<std::byte> picture = manyBytes(1 << 20);
};

TEST_F(X11PasteboardWithSlowOwner, WaitsForAPicture) {
    SelectionOwner owner(
        displayName(),
        {{.target = "image/png", .data = picture, .isIncremental = true, .delayMilliseconds = 1000},
         {.target = "text/html", .data = bytes("<img>")}});
    insertBetweenSaveAndRestore(pasteboard->items());
    EXPECT_TRUE(comesToOffer("image/png", picture));
    EXPECT_TRUE(comesToOffer("text/html", bytes("<img>")));
}

TEST_F(X11PasteboardWithSlowOwner, DoesNotAskAgainAfterAPrefetch) {
    SelectionOwner owner(displayName(),
                         {{.target = "UTF8_STRING", .data = bytes("text")},
                          {.target = "image/png", .data = picture, .delayMilliseconds = 2000}});
    pasteboard->prefetch();
    ASSERT_TRUE(eventually(20, [&] { return owner.requests("image/png") == 1; }));
    tests::pauseMilliseconds(500); // the user is speaking
    insertBetweenSaveAndRestore(pasteboard->items());
    EXPECT_TRUE(comesToOffer("image/png", picture));
    EXPECT_EQ(owner.requests("TARGETS"), 1);
    EXPECT_EQ(owner.requests("UTF8_STRING"), 1);
    EXPECT_EQ(owner.requests("image/png"), 1);
}

TEST_F(X11PasteboardWithSlowOwner, IsNotWaitedForByAPrefetch) {
    SelectionOwner owner(displayName(),
                         {{.target = "image/png", .data = picture, .delayMilliseconds = 1500}});
    EXPECT_THAT(secondsOf([&] {
                    pasteboard->prefetch();
                    pasteboard->changeCount();
                    pasteboard->dropPrefetch();
                    pasteboard->changeCount();
                }),
                Lt(1.0));
}

TEST_F(X11PasteboardWithSlowOwner, IsAskedAgainAfterThePrefetchWasDropped) {
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("text")}});
    pasteboard->prefetch();
    ASSERT_TRUE(eventually(20, [&] { return owner.requests("UTF8_STRING") == 1; }));
    pasteboard->dropPrefetch();
    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
    EXPECT_EQ(owner.requests("UTF8_STRING"), 2);
}

TEST_F(X11PasteboardWithSlowOwner, IsPrefetchedWhenItCopiesDuringTheRecording) {
    SelectionOwner first(displayName(), {{"UTF8_STRING", bytes("first")}});
    pasteboard->prefetch();
    SelectionOwner second(displayName(), {{"UTF8_STRING", bytes("second")}});
    ASSERT_TRUE(eventually(20, [&] { return second.requests("UTF8_STRING") == 1; }));
    EXPECT_EQ(readForms().at("UTF8_STRING").data, bytes("second"));
    EXPECT_EQ(second.requests("UTF8_STRING"), 1);
    pasteboard->dropPrefetch();
    SelectionOwner third(displayName(), {{"UTF8_STRING", bytes("third")}});
    pasteboard->changeCount();
    tests::pauseMilliseconds(300);
    EXPECT_EQ(third.requests("TARGETS"), 0);
}

TEST_F(X11PasteboardWithSlowOwner, CompletesTheRestoredContentsLater) {
    SelectionOwner owner(
        displayName(),
        {{.target = "application/x-first", .data = bytes("first")},
         {.target = "image/png", .data = picture, .isIncremental = true, .delayMilliseconds = 4000},
         {.target = "application/x-last", .data = bytes("last")},
         {.target = "UTF8_STRING", .data = bytes("text")}});
    auto saved = pasteboard->items();
    ASSERT_TRUE(saved && saved->size() == 1);
    EXPECT_EQ(saved->front().representations.size(), 1u) << "the text is asked for first";
    insertBetweenSaveAndRestore(std::move(saved));

    EXPECT_TRUE(comesToOffer("image/png", picture));
    EXPECT_TRUE(comesToOffer("application/x-last", bytes("last")));
    EXPECT_TRUE(comesToOffer("UTF8_STRING", bytes("text")));
    EXPECT_THAT(offeredForms(),
                ElementsAre("application/x-first", "image/png", "application/x-last", "UTF8_STRING"));
    const auto count = pasteboard->changeCount();
    tests::pauseMilliseconds(100);
    EXPECT_EQ(pasteboard->changeCount(), count);
}

TEST_F(X11PasteboardWithSlowOwner, IsNotFollowedByAnEmptyClipboard) {
    SelectionOwner owner(displayName(),
                         {{.target = "image/png", .data = picture, .delayMilliseconds = 4000}});
    auto saved = pasteboard->items();
    ASSERT_TRUE(saved && saved->empty());
    insertBetweenSaveAndRestore(std::move(saved));
    EXPECT_TRUE(comesToOffer("image/png", picture));
    EXPECT_THAT(offeredForms(), ElementsAre("image/png"));
    EXPECT_EQ(readForms().at("image/png").data, picture);
}

TEST_F(X11PasteboardWithSlowOwner, CompletesTheContentsAfterTwoInsertions) {
    SelectionOwner owner(displayName(),
                         {{.target = "UTF8_STRING", .data = bytes("text")},
                          {.target = "image/png", .data = picture, .delayMilliseconds = 5000}});
    for (int i = 0; i < 2; ++i)
        insertBetweenSaveAndRestore(pasteboard->items());
    EXPECT_TRUE(comesToOffer("image/png", picture));
    EXPECT_THAT(offeredForms(), ElementsAre("UTF8_STRING", "image/png"));
}

TEST_F(X11PasteboardWithSlowOwner, DoesNotMixItsFormsIntoLaterContents) {
    SelectionOwner owner(displayName(),
                         {{.target = "UTF8_STRING", .data = bytes("text")},
                          {.target = "image/png", .data = picture, .delayMilliseconds = 4000}});
    insertBetweenSaveAndRestore(pasteboard->items());
    setText("copied from the history");
    tests::pauseMilliseconds(2500);
    EXPECT_THAT(offeredForms(), Not(Contains("image/png")));
    EXPECT_TRUE(comesToOffer("UTF8_STRING", bytes("copied from the history")));
}

TEST_F(X11PasteboardWithSlowOwner, LogsTheFormsThatNeverArrived) {
    const tests::LogCapture log;
    SelectionOwner owner(displayName(),
                         {{.target = "UTF8_STRING", .data = bytes("secret text")},
                          {.target = "application/x-never", .data = bytes("x"), .isNeverAnswered = true},
                          {.target = "application/x-last", .data = bytes("last")}});
    insertBetweenSaveAndRestore(pasteboard->items());
    const auto isNamed = [&log] {
        const auto lines = log.lines();
        return std::ranges::any_of(lines, [](const base::LogLine& line) {
            return line.category == "Clipboard" && line.text.ends_with(": application/x-never");
        });
    };
    EXPECT_TRUE(eventually(40, isNamed));
    EXPECT_TRUE(comesToOffer("application/x-last", bytes("last")));
    for (const auto& line : log.lines())
        EXPECT_EQ(line.text.find("secret"), std::string::npos);
}

} // namespace sonvale::adapters::x11
