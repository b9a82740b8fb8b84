#include "tests/contract/PasteboardX11Fixture.h"

#include <gmock/gmock.h>

#include <thread>

namespace sonvale::platform::linux {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Gt;
using testing::Lt;
using tests::bytes;
using tests::eventually;
using tests::manyBytes;
using tests::SelectionOwner;

constexpr std::size_t largestWhole = 256 * 1024;

} // namespace

TEST_F(X11PasteboardTest, BringsEveryTargetBackAsItWas) {
    const std::vector<SelectionOwner::Form> forms = {
        {"UTF8_STRING", bytes("na\xc3\xafve")},
        {"TEXT", bytes("na\xc3\xafve"), "UTF8_STRING"},
        {"STRING", bytes("na\xefve")},
        {"text/html", bytes("<p>na\xc3\xafve</p>")},
        {"image/png", manyBytes(5 * 1024 * 1024 + 3), "", 8, true},
        {"text/uri-list", bytes("file:///tmp/a%20b\r\n")},
        {"x-special/gnome-copied-files", bytes("copy\nfile:///tmp/a%20b")},
        {"application/x-numbers", manyBytes(4000), "INTEGER", 32},
        {"application/x-words", manyBytes(300 * 1024), "CARDINAL", 16, true},
        {"application/x-empty", {}},
        {"application/x-whole", manyBytes(largestWhole + 8)},
    };
    SelectionOwner owner(displayName(), forms);

    // On a busy machine the picture may not come in time, and is asked for again.
    std::optional<std::vector<PasteboardItem>> saved;
    ASSERT_TRUE(eventually(30, [&] {
        saved = pasteboard->items();
        return saved && saved->size() == 1 && saved->front().representations.size() == forms.size();
    }));
    setText("dictated");
    pasteboard->clearContents();
    pasteboard->writeItems(std::move(saved).value());

    ASSERT_TRUE(eventually(5, [&] { return !owner.isOwner(); }));
    auto other = otherProgram();
    for (const auto& form : forms) {
        const auto answer = other.convert(form.target);
        ASSERT_TRUE(answer.has_value()) << form.target;
        EXPECT_TRUE(answer->data == form.data) << form.target;
        EXPECT_EQ(answer->type, form.type.empty() ? form.target : form.type);
        EXPECT_EQ(answer->format, form.format) << form.target;
        EXPECT_EQ(answer->pieces > 0, form.data.size() > largestWhole) << form.target;
    }
}

TEST_F(X11PasteboardTest, KeepsTheOwnersOrder) {
    SelectionOwner owner(
        displayName(),
        {{"application/x-b", bytes("b")}, {"UTF8_STRING", bytes("text")}, {"application/x-a", bytes("a")}});
    const auto items = pasteboard->items();
    ASSERT_TRUE(items && items->size() == 1);
    std::vector<std::string> types;
    for (const auto& form : items->front().representations)
        types.push_back(form.type);
    EXPECT_THAT(types, ElementsAre("application/x-b", "UTF8_STRING", "application/x-a"));
}

TEST_F(X11PasteboardTest, LeavesOutWhatIsNoContents) {
    std::vector<SelectionOwner::Form> forms = {{"UTF8_STRING", bytes("text")}};
    for (const auto* name :
         {"SAVE_TARGETS", "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY", "GTK_TEXT_BUFFER_CONTENTS"})
        forms.push_back({name, bytes("x")});
    SelectionOwner owner(displayName(), forms);

    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
    // Asking alone would do what the target says.
    EXPECT_EQ(owner.requests("DELETE"), 0);
    EXPECT_EQ(owner.requests("MULTIPLE"), 0);
}

TEST_F(X11PasteboardTest, ReadsOfAPictureThePngAlone) {
    SelectionOwner owner(displayName(), {{"image/bmp", bytes("bmp")},
                                         {"image/png", bytes("png")},
                                         {"application/x-qt-image", bytes("qt")},
                                         {"PIXMAP", bytes("1234"), "PIXMAP", 32},
                                         {"text/html", bytes("<img>")}});
    EXPECT_THAT(readTypes(), ElementsAre("image/png", "text/html"));
    EXPECT_EQ(owner.requests("image/bmp"), 0);
}

TEST_F(X11PasteboardTest, ReadsAllFormsOfAPictureThatIsNotInPng) {
    SelectionOwner owner(displayName(), {{"image/bmp", bytes("bmp")}, {"image/jpeg", bytes("jpeg")}});
    EXPECT_THAT(readTypes(), ElementsAre("image/bmp", "image/jpeg"));
}

TEST_F(X11PasteboardTest, ReadsTheTextOfAProgramThatListsNoTargets) {
    SelectionOwner owner(displayName(), {{"STRING", bytes("na\xefve")}}, {.refusesTargets = true});
    EXPECT_THAT(readTypes(), ElementsAre("STRING"));
    EXPECT_EQ(pasteboard->string(), "na\xc3\xafve");
}

TEST_F(X11PasteboardTest, RepairsTextThatIsNotUtf8) {
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("a\xff\xc3(\xed\xa0\x80z")}});
    EXPECT_EQ(pasteboard->string(), "a\uFFFD\uFFFD(\uFFFD\uFFFD\uFFFDz");
    EXPECT_EQ(readForms().at("UTF8_STRING").data, bytes("a\xff\xc3(\xed\xa0\x80z"));
}

TEST_F(X11PasteboardTest, GivesUpOnAnOwnerThatHangs) {
    {
        SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("text")}}, {.answersTargets = false});
        std::optional<std::vector<PasteboardItem>> items;
        EXPECT_THAT(secondsOf([&] { items = pasteboard->items(); }), AllOf(Gt(0.45), Lt(1.0)));
        ASSERT_TRUE(items.has_value());
        EXPECT_TRUE(items->empty());
    }
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("next")}});
    EXPECT_EQ(pasteboard->string(), "next");
}

TEST_F(X11PasteboardTest, GivesUpOnAnOwnerThatDoesNotGiveItsText) {
    SelectionOwner owner(displayName(), {{.target = "UTF8_STRING", .isNeverAnswered = true}});
    std::optional<std::string> text = "unset";
    EXPECT_THAT(secondsOf([&] { text = pasteboard->string(); }), Lt(1.0));
    EXPECT_EQ(text, std::nullopt);
}

TEST_F(X11PasteboardTest, ReadsTextAndPictureBeforeWhatIsSlow) {
    SelectionOwner owner(displayName(),
                         {{.target = "application/x-slow", .data = bytes("slow"), .delayMilliseconds = 900},
                          {.target = "image/png", .data = manyBytes(1000000), .isIncremental = true},
                          {.target = "text/html", .data = bytes("<b>")},
                          {.target = "UTF8_STRING", .data = bytes("text")}});
    std::vector<std::string> types;
    EXPECT_THAT(secondsOf([&] { types = readTypes(); }), Lt(0.8));
    EXPECT_THAT(types, ElementsAre("UTF8_STRING", "image/png", "text/html"));
}

TEST_F(X11PasteboardTest, LeavesOutATransferThatDoesNotEnd) {
    SelectionOwner owner(
        displayName(),
        {{.target = "UTF8_STRING", .data = bytes("text")},
         {.target = "image/png", .data = manyBytes(100000), .isIncremental = true, .isNeverFinished = true}});
    std::vector<std::string> types;
    EXPECT_THAT(secondsOf([&] { types = readTypes(); }), Lt(0.8));
    EXPECT_THAT(types, ElementsAre("UTF8_STRING"));
}

TEST_F(X11PasteboardTest, TakesNoLateAnswerForTheOneAskedFor) {
    SelectionOwner owner(displayName(), {{.target = "UTF8_STRING", .data = bytes("text")},
                                         {.target = "application/x-late",
                                          .data = manyBytes(200000),
                                          .isIncremental = true,
                                          .delayMilliseconds = 600}});
    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
    // It is let through to its end, and nobody takes it for anything else.
    EXPECT_TRUE(eventually(5, [&] { return owner.finishedTransfers() == 1; }));
    EXPECT_EQ(pasteboard->string(), "text");
}

TEST_F(X11PasteboardTest, NoticesThatTheOwnerDiesWhileItIsAsked) {
    auto owner = std::make_unique<SelectionOwner>(
        displayName(), std::vector<SelectionOwner::Form>{{"UTF8_STRING", bytes("text")}},
        SelectionOwner::Options{.answersTargets = false});
    std::thread killer([&owner] {
        eventually(5, [&] { return owner->requests("TARGETS") > 0; });
        owner.reset();
    });
    std::optional<std::vector<PasteboardItem>> items;
    EXPECT_THAT(secondsOf([&] { items = pasteboard->items(); }), Lt(0.4));
    killer.join();
    ASSERT_TRUE(items.has_value());
    EXPECT_TRUE(items->empty());
}

TEST_F(X11PasteboardTest, ReadsTheNewContentsWhenTheyChangeInTheMiddle) {
    std::unique_ptr<SelectionOwner> next;
    SelectionOwner owner(displayName(), {{.target = "UTF8_STRING", .data = bytes("old")},
                                         {.target = "text/html", .data = bytes("old"), .onRequest = [&] {
                                              next = std::make_unique<SelectionOwner>(
                                                  displayName(), std::vector<SelectionOwner::Form>{
                                                                     {"UTF8_STRING", bytes("new")}});
                                          }}});
    const auto forms = readForms();
    ASSERT_EQ(forms.size(), 1u);
    EXPECT_EQ(forms.at("UTF8_STRING").data, bytes("new"));
}

TEST_F(X11PasteboardTest, CountsEmptyingAsOneChange) {
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("text")}});
    pasteboard->clearContents();
    const auto count = pasteboard->changeCount();
    auto other = otherProgram();
    EXPECT_TRUE(eventually(5, [&] { return !other.hasOwner(); }));
    EXPECT_EQ(pasteboard->changeCount(), count);
    other.clear();
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
}

TEST_F(X11PasteboardTest, CountsASecondCopyOfTheSameProgram) {
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("text")}});
    const auto count = pasteboard->changeCount();
    owner.claimAgain();
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
}

} // namespace sonvale::platform::linux
