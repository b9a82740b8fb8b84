#include "tests/contract/x11/PasteboardX11Fixture.h"

#include <gmock/gmock.h>

#include <thread>

namespace sonvale::adapters::x11 {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Gt;
using testing::Lt;
using tests::bytes;
using tests::eventually;
using tests::manyBytes;
using tests::SelectionOwner;

} // namespace

TEST_F(X11PasteboardTest, RestoresEveryTargetUnchanged) {
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

    // On a busy machine the picture may not arrive in time, and is then requested again.
    std::optional<std::vector<platform::PasteboardItem>> saved;
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

TEST_F(X11PasteboardTest, SkipsTargetsThatAreNotContents) {
    std::vector<SelectionOwner::Form> forms = {{"UTF8_STRING", bytes("text")}};
    for (const auto* name :
         {"SAVE_TARGETS", "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY", "GTK_TEXT_BUFFER_CONTENTS"})
        forms.push_back({name, bytes("x")});
    SelectionOwner owner(displayName(), forms);

    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
    // The request alone would execute the target's command.
    EXPECT_EQ(owner.requests("DELETE"), 0);
    EXPECT_EQ(owner.requests("MULTIPLE"), 0);
}

TEST_F(X11PasteboardTest, SkipsTheBitmapsThatThePngReplaces) {
    SelectionOwner owner(displayName(), {{"image/bmp", bytes("bmp")},
                                         {"image/png", bytes("png")},
                                         {"image/tiff", bytes("tiff")},
                                         {"image/x-icon", bytes("icon")},
                                         {"application/x-qt-image", bytes("qt")},
                                         {"PIXMAP", bytes("1234"), "PIXMAP", 32},
                                         {"text/html", bytes("<img>")}});
    EXPECT_THAT(readTypes(), ElementsAre("image/png", "text/html"));
    EXPECT_EQ(owner.requests("image/bmp"), 0);
}

TEST_F(X11PasteboardTest, KeepsVectorPicturesAndOtherEncodingsBesidesThePng) {
    SelectionOwner owner(displayName(), {{"image/svg+xml", bytes("svg")},
                                         {"image/x-inkscape-svg", bytes("own")},
                                         {"image/png", bytes("png")},
                                         {"image/jpeg", bytes("jpeg")},
                                         {"image/gif", bytes("gif")},
                                         {"image/x-emf", bytes("emf")},
                                         {"image/x-wmf", bytes("wmf")}});
    EXPECT_THAT(readTypes(), ElementsAre("image/gif", "image/jpeg", "image/png", "image/svg+xml",
                                         "image/x-emf", "image/x-inkscape-svg", "image/x-wmf"));
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
        std::optional<std::vector<platform::PasteboardItem>> items;
        EXPECT_THAT(secondsOf([&] { items = pasteboard->items(); }), AllOf(Gt(2.9), Lt(5.0)));
        ASSERT_TRUE(items.has_value());
        EXPECT_TRUE(items->empty());
    }
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("next")}});
    EXPECT_EQ(pasteboard->string(), "next");
    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
}

TEST_F(X11PasteboardTest, GivesUpOnAnOwnerThatDoesNotSendItsText) {
    SelectionOwner owner(displayName(), {{.target = "UTF8_STRING", .isNeverAnswered = true}});
    std::optional<std::string> text = "unset";
    EXPECT_THAT(secondsOf([&] { text = pasteboard->string(); }), Lt(1.0));
    EXPECT_EQ(text, std::nullopt);
}

TEST_F(X11PasteboardTest, AsksForTextThenThePictureThenItsOtherEncodings) {
    std::vector<std::string> asked;
    const auto form = [&asked](const std::string& target) {
        return SelectionOwner::Form{
            .target = target, .data = bytes("x"), .onRequest = [&asked, target] { asked.push_back(target); }};
    };
    {
        SelectionOwner owner(displayName(),
                             {form("image/jpeg"), form("image/svg+xml"), form("application/x-own"),
                              form("image/png"), form("text/html"), form("UTF8_STRING")});
        EXPECT_EQ(readTypes().size(), 6u);
    }
    EXPECT_THAT(asked, ElementsAre("UTF8_STRING", "text/html", "image/png", "application/x-own",
                                   "image/svg+xml", "image/jpeg"));
}

TEST_F(X11PasteboardTest, SkipsAnEndlessTransferAndReadsTheRest) {
    SelectionOwner owner(
        displayName(),
        {{.target = "UTF8_STRING", .data = bytes("text")},
         {.target = "image/png", .data = manyBytes(100000), .isIncremental = true, .isNeverFinished = true},
         {.target = "application/x-own", .data = bytes("own")}});
    std::vector<std::string> types;
    EXPECT_THAT(secondsOf([&] { types = readTypes(); }), Lt(5.0));
    EXPECT_THAT(types, ElementsAre("UTF8_STRING", "application/x-own"));
}

TEST_F(X11PasteboardTest, DoesNotTakeALateAnswerForTheNextOne) {
    SelectionOwner owner(
        displayName(),
        {{.target = "UTF8_STRING", .data = bytes("late"), .isIncremental = true, .delayMilliseconds = 700}});
    EXPECT_EQ(pasteboard->string(), std::nullopt);
    // The transfer is received to its end.
    EXPECT_TRUE(eventually(10, [&] { return owner.finishedTransfers() == 1; }));
    EXPECT_THAT(readTypes(), ElementsAre("UTF8_STRING"));
}

TEST_F(X11PasteboardTest, NoticesThatTheOwnerEndsDuringARequest) {
    auto owner = std::make_unique<SelectionOwner>(
        displayName(), std::vector<SelectionOwner::Form>{{"UTF8_STRING", bytes("text")}},
        SelectionOwner::Options{.answersTargets = false});
    std::thread killer([&owner] {
        EXPECT_TRUE(eventually(5, [&] { return owner->requests("TARGETS") > 0; }));
        owner.reset();
    });
    std::optional<std::vector<platform::PasteboardItem>> items;
    EXPECT_THAT(secondsOf([&] { items = pasteboard->items(); }), Lt(2.5));
    killer.join();
    ASSERT_TRUE(items.has_value());
    EXPECT_TRUE(items->empty());
}

TEST_F(X11PasteboardTest, ReadsTheNewContentsAfterAChangeDuringTheRead) {
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

} // namespace sonvale::adapters::x11
