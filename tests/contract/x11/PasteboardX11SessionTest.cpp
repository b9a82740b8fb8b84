#include "tests/contract/x11/PasteboardX11Fixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace sonvale::adapters::x11 {

namespace {

using testing::AllOf;
using testing::Gt;
using testing::Lt;
using tests::bytes;
using tests::eventually;
using tests::SelectionOwner;
using tests::SelectionRequestor;

} // namespace

TEST_F(X11PasteboardTest, OffersPrimaryOnlyOnRequestAndOnlyAsText) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"UTF8_STRING", bytes("text"), 8, ""}, {"text/html", bytes("<b>"), 8, ""}}}});
    EXPECT_FALSE(primary.hasOwner());

    pasteboard->offerPrimary();

    EXPECT_EQ(primary.convert("UTF8_STRING")->data, bytes("text"));
    EXPECT_EQ(primary.convert("text/html"), std::nullopt);
    EXPECT_TRUE(otherProgram().convert("text/html").has_value());
}

TEST_F(X11PasteboardTest, ReleasesPrimaryWithTheContents) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    setText("first");
    pasteboard->offerPrimary();
    ASSERT_TRUE(primary.hasOwner());
    pasteboard->clearContents();
    EXPECT_TRUE(eventually(5, [&] { return !primary.hasOwner(); }));
}

TEST_F(X11PasteboardTest, RestoresTheMarkedTextOfPrimary) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    SelectionOwner marked(displayName(), {{"UTF8_STRING", bytes("marked")}}, {.selection = "PRIMARY"});
    for (const std::string text : {"first", "second"}) {
        setText(text);
        pasteboard->offerPrimary();
        EXPECT_EQ(primary.convert("UTF8_STRING")->data, bytes(text));
        pasteboard->clearContents();
        pasteboard->writeItems({{{{"UTF8_STRING", bytes("copied"), 8, ""}}}});

        const auto answer = primary.convert("UTF8_STRING");
        ASSERT_TRUE(answer.has_value());
        EXPECT_EQ(answer->data, bytes("marked"));
        EXPECT_EQ(primary.convert("STRING")->data, bytes("marked"));
    }
}

TEST_F(X11PasteboardTest, GivesUpOnMarkedTextThatIsNotSent) {
    SelectionRequestor primary(displayName(), "PRIMARY");
    SelectionOwner hangs(displayName(), {{.target = "UTF8_STRING", .isNeverAnswered = true}},
                         {.selection = "PRIMARY"});
    setText("text");
    EXPECT_THAT(secondsOf([this] { pasteboard->offerPrimary(); }), Lt(2.0));
    EXPECT_EQ(primary.convert("UTF8_STRING")->data, bytes("text"));
    pasteboard->clearContents();
    EXPECT_TRUE(eventually(5, [&] { return !primary.hasOwner(); }));
}

TEST_F(X11PasteboardTest, LeavesPrimaryToOthersIfItHasNoText) {
    SelectionOwner marked(displayName(), {{"UTF8_STRING", bytes("marked")}}, {.selection = "PRIMARY"});
    pasteboard->clearContents();
    pasteboard->writeItems({{{{"image/png", bytes("png"), 8, ""}}}});
    pasteboard->offerPrimary();
    EXPECT_TRUE(marked.isOwner());
}

TEST_F(X11PasteboardTest, DoesNotTakePrimaryFromALaterOwner) {
    setText("first");
    pasteboard->offerPrimary();
    SelectionOwner marked(displayName(), {{"UTF8_STRING", bytes("marked")}}, {.selection = "PRIMARY"});
    pasteboard->clearContents();
    pasteboard->changeCount();
    EXPECT_TRUE(marked.isOwner());
}

TEST_F(X11PasteboardTest, OffersThroughPrimaryWhatAnotherProgramHasCopiedSince) {
    setText("first");
    SelectionOwner owner(displayName(), {{"UTF8_STRING", bytes("copied")}});
    pasteboard->offerPrimary();
    EXPECT_EQ(SelectionRequestor(displayName(), "PRIMARY").convert("UTF8_STRING")->data, bytes("copied"));
}

TEST_F(X11PasteboardTest, HandsItsContentsToTheClipboardManagerAtItsEnd) {
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

TEST_F(X11PasteboardTest, DoesNotWaitLongForAHangingClipboardManager) {
    SelectionOwner manager(displayName(), {{.target = "SAVE_TARGETS", .isNeverAnswered = true}},
                           {.selection = "CLIPBOARD_MANAGER"});
    setText("kept");
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), AllOf(Gt(0.9), Lt(2.0)));
}

TEST_F(X11PasteboardTest, AsksNoClipboardManagerIfItIsEmpty) {
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
    tests::ChildProcess::Options copying;
    copying.arguments = {"xclip", "-quiet", "-selection", "clipboard", "-i", in}; // quiet: it keeps running
    copying.environment = environment;
    const tests::ChildProcess owner(std::move(copying));
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

TEST_F(X11PasteboardTest, DoesNotWakeUpWithoutEvents) {
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

TEST_F(X11PasteboardTest, DoesNotHangWithTheServer) {
    setText("text");
    display->signalServer(SIGSTOP);
    EXPECT_THAT(secondsOf([this] { pasteboard->changeCount(); }), Lt(3.0));
    EXPECT_THAT(secondsOf([this] { pasteboard->clearContents(); }), Lt(4.0));
    EXPECT_THAT(secondsOf([this] { pasteboard->items(); }), Lt(4.0));
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(6.0));
    display->signalServer(SIGCONT);
}

TEST_F(X11PasteboardTest, EndsWhileTheServerHangsWithMuchToRead) {
    setText(std::string(40 << 20, 'x'));
    auto other = otherProgram();
    ASSERT_TRUE(other.stallDuring("UTF8_STRING"));
    display->signalServer(SIGSTOP);
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(6.0));
    display->signalServer(SIGCONT);
}

TEST_F(X11PasteboardTest, SurvivesTheEndOfTheServer) {
    setText("text");
    display.reset();
    EXPECT_TRUE(eventually(5, [this] { return !pasteboard->items().has_value(); }));
    pasteboard->offerPrimary();
    pasteboard->clearContents();
    pasteboard->setString("text");
    EXPECT_EQ(pasteboard->string(), std::nullopt);
    EXPECT_THAT(secondsOf([this] { pasteboard.reset(); }), Lt(1.0));
}

TEST(X11PasteboardWithoutServer, ReturnsEmptyResults) {
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

} // namespace sonvale::adapters::x11
