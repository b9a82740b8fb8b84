#include "insertion/SelectedTextReader.h"

#include "insertion/TextInserter.h"
#include "tests/fakes/FakeAccessibilityTree.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/fakes/FakeSyntheticInput.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

namespace sonvale::insertion {

namespace {

using tests::FakeAccessibilityTree;
using tests::FakePasteboard;
using tests::FakeSyntheticInput;
using Call = FakePasteboard::Call;
using Press = FakeSyntheticInput::Press;
using Text = std::optional<std::string>;

class SelectedTextReaderTest : public testing::Test {
protected:
    SelectedTextReaderTest() { pasteboard.control().copyElsewhere("the user's"); }

    /// Ends the tasks that a test leaves running before the objects that they use.
    void TearDown() override {
        runtime.registry().cancelAll();
        runtime.runUntilIdle();
    }

    /// Makes the front application answer "copy" after `seconds`.
    void copyAfter(double seconds, const FakePasteboard::Items& items) {
        input.control().setOnPress([this, seconds, items](Press) {
            if (seconds > 0)
                runtime::spawn(runtime.main(), copyLater(seconds, items));
            else
                pasteboard.control().copyElsewhere(items);
        });
    }
    void copyAtOnce(const std::string& text) { copyAfter(0, {FakePasteboard::textItem(text)}); }

    runtime::Task<> copyLater(double seconds, FakePasteboard::Items items) {
        co_await runtime::sleep(runtime.clock(), seconds);
        pasteboard.control().copyElsewhere(std::move(items));
    }

    runtime::TaskHandle<Text> start() { return runtime::spawn(runtime.main(), reader.readViaClipboard()); }
    Text read() { return runtime.wait(reader.readViaClipboard()); }

    static Text resultOf(const runtime::TaskHandle<Text>& task) { return std::get<1>(task.state()->outcome); }
    Text onPasteboard() { return pasteboard.control().text(); }
    std::int64_t changeCount() { return pasteboard.changeCount(); }

    tests::TestRuntime runtime;
    FakeAccessibilityTree tree;
    FakePasteboard pasteboard;
    FakeSyntheticInput input;
    const runtime::Actor insertions = runtime.makeSerialActor("TextInserter");
    SelectedTextReader reader{insertions, runtime.clock(), tree, pasteboard, input};
};

} // namespace

TEST_F(SelectedTextReaderTest, ReturnsTheReportedTextUnchanged) {
    const std::string texts[] = {"word", " two blanks \n", "\n", "na\u00EFve \U0001F44D",
                                 std::string(1 << 20, 'x')};
    for (const auto& text : texts) {
        tree.control().setSelectedText(text);
        EXPECT_EQ(reader.readViaAccessibility(), text);
    }
}

TEST_F(SelectedTextReaderTest, ReturnsNulloptIfTheFrontApplicationReportsNothing) {
    EXPECT_EQ(reader.readViaAccessibility(), std::nullopt);
    tree.control().setSelectedText("");
    EXPECT_EQ(reader.readViaAccessibility(), std::nullopt) << "an empty text is no selection";
}

TEST_F(SelectedTextReaderTest, DoesNotUseTheClipboardToAskTheFrontApplication) {
    tree.control().setSelectedText("word");
    reader.readViaAccessibility();
    EXPECT_TRUE(pasteboard.control().calls().empty());
    EXPECT_TRUE(input.control().presses().empty());
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(SelectedTextReaderTest, ReturnsTheCopiedTextAndRestoresTheClipboard) {
    auto rich = FakePasteboard::textItem("the user's");
    rich.representations.push_back({"image/png", std::vector<std::byte>(5000, std::byte{7}), 8, {}});
    const FakePasteboard::Items items = {rich, FakePasteboard::textItem("second")};
    pasteboard.control().copyElsewhere(items);
    copyAtOnce(" selected\n");

    EXPECT_EQ(read(), " selected\n");
    EXPECT_EQ(pasteboard.control().contents(), items);
    EXPECT_EQ(input.control().presses(), std::vector{Press::copy});
}

TEST_F(SelectedTextReaderTest, SavesPressesChecksReadsAndRestoresInThisOrder) {
    std::vector<std::string> steps;
    const auto name = [](Call call) { return std::to_string(static_cast<int>(call)); };
    pasteboard.control().setOnCall([&](Call call) { steps.push_back(name(call)); });
    input.control().setOnPress([&](Press) {
        steps.push_back("copy");
        pasteboard.control().copyElsewhere("selected");
    });

    read();

    EXPECT_EQ(steps, (std::vector<std::string>{name(Call::changeCount), name(Call::items), "copy",
                                               name(Call::changeCount), name(Call::string),
                                               name(Call::clearContents), name(Call::writeItems)}));
}

TEST_F(SelectedTextReaderTest, PressesAtOnceAndReadsAfter150Milliseconds) {
    copyAtOnce("selected");
    const auto task = start();
    runtime.runUntilIdle();
    EXPECT_EQ(input.control().count(Press::copy), 1);

    runtime.clock().advance(0.15 - tests::epsilon);
    EXPECT_FALSE(task.isDone());
    EXPECT_EQ(onPasteboard(), "selected");

    runtime.clock().advance(2 * tests::epsilon);
    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(resultOf(task), "selected");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(SelectedTextReaderTest, DoesNotReturnTheOldClipboardAsTheSelection) {
    const auto before = changeCount();
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_EQ(changeCount(), before) << "it is not written again";
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, ReturnsACopyOfTheSameTextAsTheSelection) {
    copyAtOnce("the user's");
    EXPECT_EQ(read(), "the user's");
}

TEST_F(SelectedTextReaderTest, ReturnsNulloptForASelectionWithoutTextAndRestoresTheClipboard) {
    platform::PasteboardItem picture;
    picture.representations.push_back({"image/png", std::vector<std::byte>(100, std::byte{1}), 8, {}});
    copyAfter(0, {picture});
    EXPECT_EQ(read(), std::nullopt);
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, ReturnsAnEmptyText) {
    copyAtOnce("");
    EXPECT_EQ(read(), Text(""));
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, ReturnsLongTextWhole) {
    const std::string text(5 << 20, 'x');
    copyAtOnce(text);
    EXPECT_EQ(read(), text);
}

TEST_F(SelectedTextReaderTest, AcceptsACopyThatArrivesJustInTime) {
    copyAfter(0.149, {FakePasteboard::textItem("selected")});
    EXPECT_EQ(read(), "selected");
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, LeavesALateCopyOnTheClipboard) {
    copyAfter(0.151, {FakePasteboard::textItem("late")});
    EXPECT_EQ(read(), std::nullopt);
    runtime.clock().advance(1);
    EXPECT_EQ(onPasteboard(), "late") << "there is no second look";
    EXPECT_EQ(input.control().count(Press::copy), 1);
}

TEST_F(SelectedTextReaderTest, LeavesAnEmptyClipboardEmpty) {
    pasteboard.control().copyElsewhere(FakePasteboard::Items{});
    copyAtOnce("selected");
    EXPECT_EQ(read(), "selected");
    EXPECT_TRUE(pasteboard.control().contents().empty());
}

TEST_F(SelectedTextReaderTest, ReturnsNulloptIfTheClipboardCannotBeRead) {
    pasteboard.control().setUnavailable(true);
    EXPECT_EQ(read(), std::nullopt);
    copyAtOnce("selected");
    EXPECT_EQ(read(), std::nullopt);
}

TEST_F(SelectedTextReaderTest, ReadsAtOnceIfItIsCancelledDuringTheWait) {
    copyAtOnce("selected");
    const auto task = start();
    runtime.clock().advance(0.02);
    task.cancel();
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(resultOf(task), "selected");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(SelectedTextReaderTest, ReturnsNulloptIfItIsCancelledBeforeTheCopyArrives) {
    copyAfter(0.1, {FakePasteboard::textItem("late")});
    const auto task = start();
    runtime.clock().advance(0.02);
    task.cancel();
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(resultOf(task), std::nullopt);
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, ReadsEvenIfItIsCancelledBeforeItBegins) {
    copyAtOnce("selected");
    const auto task = start();
    task.cancel();
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(resultOf(task), "selected");
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(SelectedTextReaderTest, DoesNotBlockTheMainActorDuringTheWait) {
    const auto task = start();
    runtime.clock().advance(0.05);
    bool hasRun = false;
    runtime.main().post([&] { hasRun = true; });
    runtime.runUntilIdle();
    EXPECT_TRUE(hasRun);
    EXPECT_FALSE(task.isDone());
}

TEST_F(SelectedTextReaderTest, KeepsTheUsersClipboardIfAnInsertionReplacesTheSelection) {
    copyAtOnce("selected");
    EXPECT_EQ(read(), "selected");
    Text pasted;
    input.control().setOnPress([&](Press) { pasted = onPasteboard(); });
    TextInserter inserter{insertions, runtime.clock(), ClipboardManager(pasteboard), input};
    runtime.wait(inserter.insert("rewritten"));
    EXPECT_EQ(pasted, "rewritten");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(input.control().presses(), (std::vector{Press::copy, Press::paste}));
}

} // namespace sonvale::insertion
