#include "platform/linux/X11Client.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/X11SelectionServer.h"
#include "runtime/ManualClock.h"
#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
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
using tests::monotonicSeconds;
using tests::SelectionOwner;
using tests::SelectionRequestor;

constexpr std::size_t largestWhole = 256 * 1024;

class X11PasteboardTest : public testing::Test {
protected:
    const std::string& displayName() { return display->name(); }
    SelectionRequestor otherProgram() { return SelectionRequestor(displayName()); }

    void setText(const std::string& text) {
        pasteboard->clearContents();
        pasteboard->setString(text);
    }

    /// The forms of the one item that is read, by name.
    std::map<std::string, PasteboardItem::Representation> readForms() {
        std::map<std::string, PasteboardItem::Representation> forms;
        const auto items = pasteboard->items();
        if (!items || items->size() > 1)
            throw std::runtime_error("not one item");
        for (const auto& item : *items) {
            for (const auto& form : item.representations)
                forms.emplace(form.type, form);
        }
        return forms;
    }

    std::vector<std::string> readTypes() {
        std::vector<std::string> types;
        for (const auto& [type, form] : readForms())
            types.push_back(type);
        return types;
    }

    runtime::SystemClock clock;
    std::unique_ptr<tests::PrivateDisplay> display = std::make_unique<tests::PrivateDisplay>();
    std::unique_ptr<X11Pasteboard> pasteboard = std::make_unique<X11Pasteboard>(clock, display->name());
};

double secondsOf(const std::function<void()>& work) {
    const double start = monotonicSeconds();
    work();
    return monotonicSeconds() - start;
}

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

TEST_F(X11PasteboardTest, TellsTheTimeOfItsOwnership) {
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

TEST_F(X11PasteboardTest, RefusesWhatItDoesNotHave) {
    setText("text");
    auto other = otherProgram();
    EXPECT_EQ(other.convert("image/png"), std::nullopt);
    EXPECT_TRUE(other.convert("UTF8_STRING").has_value());
}

TEST_F(X11PasteboardTest, RefusesRequestsOfATimeBeforeItWasTheOwner) {
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

TEST_F(X11PasteboardTest, SendsWholeUpTo256KilobytesAndPiecesAbove) {
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
    // Not compared by a macro that prints it.
    EXPECT_TRUE(pasteboard->string() == text);
}

TEST_F(X11PasteboardTest, ShowsOthersTheFirstOfEachTarget) {
    pasteboard->clearContents();
    pasteboard->writeItems(
        {{{{"a", bytes("1"), 8, ""}, {"b", bytes("2"), 8, ""}}}, {{{"a", bytes("3"), 8, ""}}}});
    auto other = otherProgram();
    EXPECT_EQ(other.convert("a")->data, bytes("1"));
    EXPECT_EQ(other.targets().size(), 6u);
}

TEST_F(X11PasteboardTest, LeavesOutFormsThatCannotBeOffered) {
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

TEST_F(X11PasteboardTest, WritesTextWithOneChangeOfOwner) {
    const auto count = pasteboard->changeCount();
    setText("text");
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
    // Past the time after which an emptied clipboard is let go of.
    tests::pauseMilliseconds(60);
    EXPECT_TRUE(otherProgram().hasOwner());
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
}

TEST_F(X11PasteboardTest, CountsASecondCopyOfTheSameProgram) {
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("text")}});
    const auto count = pasteboard->changeCount();
    owner.claimAgain();
    EXPECT_EQ(pasteboard->changeCount(), count + 1);
}

TEST_F(X11PasteboardTest, WritesAlsoLongAfterItWasEmptied) {
    pasteboard->clearContents();
    auto other = otherProgram();
    ASSERT_TRUE(eventually(5, [&] { return !other.hasOwner(); }));
    pasteboard->setString("text");
    EXPECT_EQ(other.convert("UTF8_STRING")->data, bytes("text"));
}

TEST_F(X11PasteboardTest, GoesOnServingWhenAReaderVanishesInTheMiddle) {
    const auto large = manyBytes(3 << 20);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", large, 8, ""}}}});
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(SelectionRequestor::vanishDuring(displayName(), "image/png", 1 + i % 3));
    const auto answer = otherProgram().convert("image/png");
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->data == large);
}

TEST_F(X11PasteboardTest, IsNotHeldUpByAReaderThatStops) {
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

TEST_F(X11PasteboardTest, FinishesATransferThoughTheContentsHaveChanged) {
    const auto large = manyBytes(8 << 20);
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", large, 8, ""}}}});
    std::optional<SelectionRequestor::Answer> answer;
    std::thread reader([&] { answer = otherProgram().convert("image/png", 20); });
    tests::pauseMilliseconds(10);
    setText("next");
    reader.join();
    if (answer) // the request may have come after the change, and is refused then
        EXPECT_TRUE(answer->data == large);
    EXPECT_EQ(otherProgram().convert("UTF8_STRING")->data, bytes("next"));
}

TEST_F(X11PasteboardTest, OffersPrimaryOnlyWhenToldToAndOnlyAsText) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"UTF8_STRING", bytes("text"), 8, ""}, {"text/html", bytes("<b>"), 8, ""}}}});
    EXPECT_FALSE(primary.hasOwner());

    pasteboard->offerPrimary();

    EXPECT_EQ(primary.convert("UTF8_STRING")->data, bytes("text"));
    EXPECT_EQ(primary.convert("text/html"), std::nullopt);
    EXPECT_TRUE(otherProgram().convert("text/html").has_value());
}

TEST_F(X11PasteboardTest, LetsGoOfPrimaryWithTheContents) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    setText("first");
    pasteboard->offerPrimary();
    ASSERT_TRUE(primary.hasOwner());
    pasteboard->clearContents();
    EXPECT_TRUE(eventually(5, [&] { return !primary.hasOwner(); }));
}

TEST_F(X11PasteboardTest, LeavesPrimaryToOthersWhenItHasNoText) {
    SelectionOwner marked(displayName(), {{"UTF8_STRING", bytes("marked")}}, {.selection = "PRIMARY"});
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", bytes("png"), 8, ""}}}});
    pasteboard->offerPrimary();
    EXPECT_TRUE(marked.isOwner());
}

TEST_F(X11PasteboardTest, DoesNotTakePrimaryFromOneWhoHasItSince) {
    setText("first");
    pasteboard->offerPrimary();
    SelectionOwner marked(displayName(), {{"UTF8_STRING", bytes("marked")}}, {.selection = "PRIMARY"});
    pasteboard->clearContents();
    pasteboard->changeCount();
    EXPECT_TRUE(marked.isOwner());
}

TEST_F(X11PasteboardTest, OffersByPrimaryWhatAnotherProgramHasCopiedSince) {
    setText("first");
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("copied")}});
    pasteboard->offerPrimary();
    EXPECT_EQ(SelectionRequestor(displayName(), "PRIMARY").convert("UTF8_STRING")->data, bytes("copied"));
}

TEST_F(X11PasteboardTest, HandsOverToTheClipboardManagerAtItsEnd) {
    std::optional<SelectionRequestor::Answer> saved;
    SelectionOwner manager(displayName(),
                           {{.target = "SAVE_TARGETS",
                             .type = "NULL",
                             .format = 32,
                             .onRequest = [&] { saved = otherProgram().convert("UTF8_STRING"); }}},
                           {.selection = "CLIPBOARD_MANAGER"});
    setText("kept");
    pasteboard.reset();
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(saved->data, bytes("kept"));
}

TEST_F(X11PasteboardTest, DoesNotWaitLongForAClipboardManagerThatHangs) {
    SelectionOwner manager(displayName(), {{.target = "SAVE_TARGETS", .isNeverAnswered = true}},
                           {.selection = "CLIPBOARD_MANAGER"});
    setText("kept");
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), AllOf(Gt(0.9), Lt(2.0)));
}

TEST_F(X11PasteboardTest, AsksNoClipboardManagerWhenItHoldsNothing) {
    SelectionOwner manager(displayName(), {{.target = "SAVE_TARGETS", .isNeverAnswered = true}},
                           {.selection = "CLIPBOARD_MANAGER"});
    setText("lost");
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("theirs")}});
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(0.5));
    EXPECT_EQ(manager.requests("SAVE_TARGETS"), 0);
}

TEST_F(X11PasteboardTest, ExchangesTextWithXclip) {
    const std::map<std::string, std::string> environment = {{"DISPLAY", displayName()}};
    tests::TemporaryDirectory directory;
    const auto in = directory.path() + "/in";
    const auto out = directory.path() + "/out";
    std::ofstream(in) << "from xclip \xe2\x82\xac";
    ASSERT_EQ(tests::run({"xclip", "-selection", "clipboard", "-i", in}, environment), 0);
    // It claims the clipboard after its first process has ended.
    EXPECT_TRUE(eventually(10, [this] { return pasteboard->string() == "from xclip \xe2\x82\xac"; }));

    auto saved = pasteboard->items();
    setText("from here \xe2\x82\xac");
    const auto paste = [&] {
        const auto command = "xclip -selection clipboard -o > " + out;
        EXPECT_EQ(tests::run({"sh", "-c", command}, environment), 0);
        std::ifstream file(out);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    EXPECT_EQ(paste(), "from here \xe2\x82\xac");
    pasteboard->clearContents();
    pasteboard->writeItems(std::move(saved).value());
    EXPECT_EQ(paste(), "from xclip \xe2\x82\xac");
}

TEST_F(X11PasteboardTest, DoesNotWakeUpWhenNothingHappens) {
    setText("text");
    ASSERT_TRUE(otherProgram().convert("UTF8_STRING").has_value());
    const auto wakeUps = [] {
        long count = -1;
        for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
            std::ifstream name(task.path() / "comm");
            std::string line;
            std::getline(name, line);
            if (line != "clipboard")
                continue;
            std::ifstream status(task.path() / "status");
            while (std::getline(status, line)) {
                if (line.starts_with("voluntary_ctxt_switches:"))
                    count = std::stol(line.substr(line.find(':') + 1));
            }
        }
        return count;
    };
    tests::pauseMilliseconds(50);
    const auto before = wakeUps();
    ASSERT_GE(before, 0);
    tests::pauseMilliseconds(500);
    EXPECT_EQ(wakeUps(), before);
}

TEST_F(X11PasteboardTest, DoesNotHangWhenTheServerDoes) {
    setText("text");
    display->signalServer(SIGSTOP);
    EXPECT_THAT(secondsOf([this] { pasteboard->changeCount(); }), Lt(3.0));
    EXPECT_THAT(secondsOf([this] { pasteboard->clearContents(); }), Lt(4.0));
    EXPECT_THAT(secondsOf([this] { pasteboard->items(); }), Lt(4.0));
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(6.0));
    display->signalServer(SIGCONT);
}

TEST_F(X11PasteboardTest, EndsWhenTheServerHangsWithMuchToRead) {
    setText(std::string(40 << 20, 'x'));
    auto other = otherProgram();
    ASSERT_TRUE(other.stallDuring("UTF8_STRING"));
    display->signalServer(SIGSTOP);
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(6.0));
    display->signalServer(SIGCONT);
}

TEST_F(X11PasteboardTest, LivesOnWhenTheServerDies) {
    setText("text");
    display.reset();
    EXPECT_TRUE(eventually(5, [this] { return !pasteboard->items().has_value(); }));
    pasteboard->offerPrimary();
    pasteboard->clearContents();
    pasteboard->setString("text");
    EXPECT_EQ(pasteboard->string(), std::nullopt);
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(1.0));
}

TEST(X11PasteboardWithoutServer, AnswersWithNothing) {
    runtime::SystemClock clock;
    X11Pasteboard pasteboard(clock, ":65000");
    EXPECT_EQ(pasteboard.items(), std::nullopt);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    EXPECT_EQ(pasteboard.changeCount(), 0);
    pasteboard.clearContents();
    pasteboard.setString("text");
    pasteboard.writeItems({{{{"a", bytes("b"), 8, ""}}}});
    pasteboard.offerPrimary();
    EXPECT_EQ(pasteboard.items(), std::nullopt);
}

namespace {

std::shared_ptr<const X11SelectionContents> megabyteOfText(X11Client& client, double deadline) {
    auto contents = X11SelectionContents::fromText(std::string(1 << 20, 'x'));
    contents.resolve(client, deadline);
    return std::make_shared<const X11SelectionContents>(std::move(contents));
}

} // namespace

TEST(X11SelectionServer, FreesItsContentsWhenAnotherProgramTakesTheSelection) {
    tests::PrivateDisplay display;
    runtime::SystemClock clock;
    X11Client client(display.name(), clock);
    X11SelectionServer server(client, clock);
    const auto soon = [&clock] { return clock.now() + 5; };
    const auto selection = client.atom("CLIPBOARD", soon());
    auto contents = megabyteOfText(client, soon());
    const std::weak_ptr<const X11SelectionContents> held = contents;
    ASSERT_TRUE(server.claim(selection, std::move(contents), soon()));
    ASSERT_FALSE(held.expired());

    SelectionOwner owner(display.name(), {{"UTF8_STRING", bytes("theirs")}});
    while (const auto event = client.waitForEvent(clock.now() + 0.2))
        server.handle(*event);

    EXPECT_FALSE(server.owns(selection));
    EXPECT_TRUE(held.expired());
}

TEST(X11SelectionServer, DropsATransferWhoseReaderHasStopped) {
    tests::PrivateDisplay display;
    runtime::SystemClock realTime;
    runtime::ManualClock clock;
    X11Client client(display.name(), realTime);
    X11SelectionServer server(client, clock);
    const double soon = realTime.now() + 5;
    const auto selection = client.atom("CLIPBOARD", soon);
    ASSERT_TRUE(server.claim(selection, megabyteOfText(client, soon), soon));
    SelectionRequestor reader(display.name());
    std::thread stopping([&reader] { reader.stallDuring("UTF8_STRING"); });
    while (const auto event = client.waitForEvent(realTime.now() + 0.5))
        server.handle(*event);
    stopping.join();
    EXPECT_DOUBLE_EQ(server.nextDeadline(), clock.now() + 10);

    clock.advance(10);
    server.expire();
    EXPECT_EQ(server.nextDeadline(), std::numeric_limits<double>::infinity());
}

} // namespace sonvale::platform::linux
