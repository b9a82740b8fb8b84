#include "tests/contract/x11/PasteboardX11Fixture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

namespace sonvale::adapters::x11 {

namespace {

using testing::ElementsAre;
using tests::bytes;
using tests::eventually;
using tests::manyBytes;
using tests::SelectionRequestor;

} // namespace

TEST_F(X11PasteboardTest, OffersTextInTheFormsThatProgramsAskFor) {
    struct Row {
        std::string text;
        std::string utf8;
        std::optional<std::string> latin1;
    };
    const Row rows[] = {
        {"plain\ttext\n", "plain\ttext\n", "plain\ttext\n"},
        {"na\xc3\xafve \xc3\xbf\xc2\xa0", "na\xc3\xafve \xc3\xbf\xc2\xa0", "na\xefve \xff\xa0"},
        {"5 \xe2\x82\xac", "5 \xe2\x82\xac", std::nullopt},
        {"bell\a", "bell\a", std::nullopt},
        {"bad \xff", "bad \uFFFD", std::nullopt},
        {"", "", ""},
    };
    auto other = otherProgram();
    for (const auto& row : rows) {
        setText(row.text);
        for (const std::string target : {"UTF8_STRING", "text/plain;charset=utf-8", "TEXT", "text/plain"}) {
            const auto answer = other.convert(target);
            ASSERT_TRUE(answer.has_value()) << target;
            EXPECT_EQ(answer->data, bytes(row.utf8)) << target;
            EXPECT_EQ(answer->type, target == "TEXT" ? "UTF8_STRING" : target);
            EXPECT_EQ(answer->format, 8);
        }
        const auto latin1 = other.convert("STRING");
        EXPECT_EQ(latin1.has_value(), row.latin1.has_value());
        if (latin1 && row.latin1)
            EXPECT_EQ(latin1->data, bytes(*row.latin1));
        EXPECT_EQ(pasteboard->string(), row.utf8);
    }
}

TEST_F(X11PasteboardTest, ListsItsTargets) {
    setText("plain");
    EXPECT_THAT(otherProgram().targets(),
                ElementsAre("TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "UTF8_STRING",
                            "text/plain;charset=utf-8", "STRING", "TEXT", "text/plain"));
}

TEST_F(X11PasteboardTest, ReportsTheTimeOfItsOwnership) {
    auto other = otherProgram();
    const auto before = other.session().timestamp();
    setText("text");
    const auto after = other.session().timestamp();

    const auto answer = other.convert("TIMESTAMP");
    ASSERT_TRUE(answer && answer->type == "INTEGER" && answer->format == 32 && answer->data.size() == 4);
    xcb_timestamp_t time = 0;
    std::memcpy(&time, answer->data.data(), sizeof time);
    EXPECT_GE(time, before);
    EXPECT_LE(time, after);
}

TEST_F(X11PasteboardTest, RefusesMissingTargets) {
    setText("text");
    auto other = otherProgram();
    EXPECT_EQ(other.convert("image/png"), std::nullopt);
    EXPECT_TRUE(other.convert("UTF8_STRING").has_value());
}

TEST_F(X11PasteboardTest, RefusesRequestsFromBeforeItsOwnership) {
    setText("text");
    auto other = otherProgram();
    EXPECT_FALSE(other.convertAtEarlierTime("UTF8_STRING", 60000).has_value());
}

TEST_F(X11PasteboardTest, ServesManyTargetsInOneRequest) {
    const auto large = manyBytes(largestWhole * 2 + 1);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"UTF8_STRING", bytes("text"), 8, ""}, {"image/png", large, 8, ""}}}});

    const auto answers =
        otherProgram().multiple({"UTF8_STRING", "application/none", "image/png", "MULTIPLE"});

    ASSERT_EQ(answers.size(), 2u);
    EXPECT_EQ(answers.at("UTF8_STRING").data, bytes("text"));
    EXPECT_TRUE(answers.at("image/png").data == large);
    EXPECT_EQ(answers.at("image/png").pieces, 3);
}

TEST_F(X11PasteboardTest, SendsUpTo256KilobytesWholeAndMoreInPieces) {
    auto other = otherProgram();
    for (const std::size_t size : {largestWhole, largestWhole + 1, 2 * largestWhole}) {
        setText(std::string(size, 'x'));
        const auto answer = other.convert("UTF8_STRING");
        ASSERT_TRUE(answer.has_value());
        EXPECT_EQ(answer->data.size(), size);
        EXPECT_EQ(answer->pieces, size <= largestWhole ? 0 : 2);
    }
}

TEST_F(X11PasteboardTest, Serves40Megabytes) {
    const std::string text(40 << 20, 'x');
    setText(text);
    const auto answer = otherProgram().convert("UTF8_STRING", 30);
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->data == bytes(text));
    // Not compared by a macro that would print it.
    EXPECT_TRUE(pasteboard->string() == text);
}

TEST_F(X11PasteboardTest, OffersTheFirstFormOfEachTarget) {
    pasteboard->clearContents();
    pasteboard->writeItems(
        {{{{"a", bytes("1"), 8, ""}, {"b", bytes("2"), 8, ""}}}, {{{"a", bytes("3"), 8, ""}}}});
    auto other = otherProgram();
    EXPECT_EQ(other.convert("a")->data, bytes("1"));
    EXPECT_EQ(other.targets().size(), 6u);
}

TEST_F(X11PasteboardTest, SkipsFormsThatCannotBeOffered) {
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"", bytes("no name"), 8, ""},
                              {std::string(70000, 'n'), bytes("long name"), 8, ""},
                              {"odd", bytes("12345"), 32, ""},
                              {"units", bytes("12345"), 7, ""}}}});
    auto other = otherProgram();
    EXPECT_EQ(other.targets().size(), 6u);
    EXPECT_EQ(other.convert("odd")->data, bytes("1234"));
    EXPECT_EQ(other.convert("units")->data, bytes("12345"));
}

TEST_F(X11PasteboardTest, WritesTextWithOneChangeOfOwner) {
    const auto count = pasteboard->changeCount();
    setText("text");
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
    // After the time at which an emptied clipboard is released.
    tests::pauseMilliseconds(60);
    EXPECT_TRUE(otherProgram().hasOwner());
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
}

TEST_F(X11PasteboardTest, WritesLongAfterItWasEmptied) {
    pasteboard->clearContents();
    auto other = otherProgram();
    ASSERT_TRUE(eventually(5, [&] { return !other.hasOwner(); }));
    pasteboard->setString("text");
    EXPECT_EQ(other.convert("UTF8_STRING")->data, bytes("text"));
}

TEST_F(X11PasteboardTest, ServesOthersAfterAReaderHasVanished) {
    const auto large = manyBytes(3 << 20);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", large, 8, ""}}}});
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(SelectionRequestor::vanishDuring(displayName(), "image/png", 1 + i % 3));
    const auto answer = otherProgram().convert("image/png");
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->data == large);
}

TEST_F(X11PasteboardTest, IsNotBlockedByAReaderThatStops) {
    const auto large = manyBytes(3 << 20);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", large, 8, ""}}}});
    auto stopped = otherProgram();
    ASSERT_TRUE(stopped.stallDuring("image/png"));
    const auto answer = otherProgram().convert("image/png");
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->data == large);
    setText("next");
    EXPECT_EQ(otherProgram().convert("UTF8_STRING")->data, bytes("next"));
}

TEST_F(X11PasteboardTest, FinishesATransferAfterTheContentsHaveChanged) {
    const auto large = manyBytes(8 << 20);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", large, 8, ""}}}});
    std::optional<SelectionRequestor::Answer> answer;
    std::thread reader([&] { answer = otherProgram().convert("image/png", 20); });
    tests::pauseMilliseconds(10);
    setText("next");
    reader.join();
    if (answer) // the request may have arrived after the change; it is then refused
        EXPECT_TRUE(answer->data == large);
    EXPECT_EQ(otherProgram().convert("UTF8_STRING")->data, bytes("next"));
}

} // namespace sonvale::adapters::x11
