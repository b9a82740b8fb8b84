#include "insertion/TextInserter.h"

#include "runtime/TaskPool.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/fakes/FakeSyntheticInput.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace sonvale::insertion {

namespace {

using tests::FakePasteboard;
using tests::FakeSyntheticInput;
using Press = FakeSyntheticInput::Press;

class TextInserterTest : public testing::Test {
protected:
    TextInserterTest() {
        pasteboard.control().copyElsewhere("the user's");
        input.control().setOnPress([this](Press) {
            pressTimes.push_back(now());
            pastedTexts.push_back(pasteboard.control().text());
        });
    }

    /// Ends the tasks that a test leaves running before the objects that they use.
    void TearDown() override {
        runtime.registry().cancelAll();
        runtime.runUntilIdle();
    }

    double now() { return runtime.clock().now() - start; }
    std::optional<std::string> onPasteboard() { return pasteboard.control().text(); }
    bool isUntouched() { return pasteboard.control().calls().empty(); }

    runtime::TaskHandle<InsertionToken> insert(std::string text) {
        return runtime::spawn(runtime.main(), inserter.insert(std::move(text)));
    }
    runtime::TaskHandle<> undo(std::int64_t count) {
        return runtime::spawn(runtime.main(), inserter.undo(count));
    }

    /// Returns the token of a task that has ended.
    static InsertionToken tokenOf(const runtime::TaskHandle<InsertionToken>& task) {
        return std::get<1>(task.state()->outcome);
    }

    tests::TestRuntime runtime;
    const double start = runtime.clock().now();
    FakePasteboard pasteboard;
    FakeSyntheticInput input;
    std::vector<double> pressTimes;
    std::vector<std::optional<std::string>> pastedTexts;
    TextInserter inserter{runtime.makeSerialActor("TextInserter"), runtime.clock(),
                          ClipboardManager(pasteboard), input};
};

} // namespace

TEST_F(TextInserterTest, PutsTheTextOnThePasteboardAtOnceAndPastesItAfter50Milliseconds) {
    insert("dictated");
    runtime.runUntilIdle();
    EXPECT_EQ(onPasteboard(), "dictated");

    runtime.clock().advance(0.05 - tests::epsilon);
    EXPECT_TRUE(pressTimes.empty());
    runtime.clock().advance(2 * tests::epsilon);

    ASSERT_EQ(input.control().presses(), std::vector{Press::paste});
    EXPECT_EQ(pastedTexts.front(), "dictated");
}

TEST_F(TextInserterTest, RestoresTheClipboardAfter300Milliseconds) {
    const auto task = insert("dictated");
    runtime.clock().advance(0.35 - tests::epsilon);
    EXPECT_EQ(onPasteboard(), "dictated");
    EXPECT_FALSE(task.isDone());

    runtime.clock().advance(2 * tests::epsilon);

    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(TextInserterTest, SavesWritesPastesAndRestoresInThisOrder) {
    using Call = FakePasteboard::Call;
    std::vector<std::string> steps;
    pasteboard.control().setOnCall(
        [&steps](Call call) { steps.push_back(std::to_string(static_cast<int>(call))); });
    input.control().setOnPress([&steps](Press) { steps.push_back("paste"); });

    runtime.wait(inserter.insert("dictated"));

    const auto name = [](Call call) { return std::to_string(static_cast<int>(call)); };
    EXPECT_EQ(steps, (std::vector<std::string>{name(Call::changeCount), name(Call::items),
                                               name(Call::clearContents), name(Call::setString), "paste",
                                               name(Call::clearContents), name(Call::writeItems)}));
}

TEST_F(TextInserterTest, ReturnsTheTextAndTheTimeOfItsEnd) {
    const auto begin = runtime.clock().date();
    const auto token = runtime.wait(inserter.insert("dictated"));

    EXPECT_EQ(token.text, "dictated");
    const auto took = std::chrono::duration<double>(token.insertedAt - begin).count();
    EXPECT_NEAR(took, 0.35, 1e-4);
}

TEST_F(TextInserterTest, RestoresEveryFormOfEveryItem) {
    auto rich = FakePasteboard::textItem("words");
    rich.representations.push_back({"image/png", std::vector<std::byte>(5000, std::byte{7}), 8, {}});
    const FakePasteboard::Items items = {rich, FakePasteboard::textItem("second")};
    pasteboard.control().copyElsewhere(items);

    runtime.wait(inserter.insert("dictated"));

    EXPECT_EQ(pasteboard.control().contents(), items);
}

TEST_F(TextInserterTest, OffersOnlyPlainTextDuringTheInsertion) {
    insert("dictated");
    runtime.clock().advance(0.1);
    EXPECT_EQ(pasteboard.control().contents(), FakePasteboard::Items{FakePasteboard::textItem("dictated")});
}

TEST_F(TextInserterTest, LeavesAnEmptyPasteboardEmpty) {
    pasteboard.control().copyElsewhere(FakePasteboard::Items{});
    runtime.wait(inserter.insert("dictated"));
    EXPECT_TRUE(pasteboard.control().contents().empty());
    EXPECT_EQ(pastedTexts, std::vector<std::optional<std::string>>{"dictated"});
}

TEST_F(TextInserterTest, OverwritesACopyMadeDuringTheLastWait) {
    insert("dictated");
    runtime.clock().advance(0.2);
    pasteboard.control().copyElsewhere("copied meanwhile");
    runtime.clock().advance(0.2);
    EXPECT_EQ(onPasteboard(), "the user's");
}

TEST_F(TextInserterTest, PastesTextOfEveryKindUnchanged) {
    const std::string texts[] = {" \n", "na\xc3\xafve \xf0\x9f\x91\x8d", std::string("a\0b", 3),
                                 std::string(1 << 20, 'x')};
    for (const auto& text : texts) {
        EXPECT_EQ(runtime.wait(inserter.insert(text)).text, text);
        EXPECT_EQ(pastedTexts.back(), text);
        EXPECT_EQ(onPasteboard(), "the user's");
    }
}

TEST_F(TextInserterTest, MakesAnEmptyInsertionWithoutPressingPaste) {
    const auto task = insert("");
    runtime.clock().advance(0.35 - tests::epsilon);
    EXPECT_EQ(onPasteboard(), "");
    EXPECT_FALSE(task.isDone());
    runtime.clock().advance(2 * tests::epsilon);

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(tokenOf(task).text, "");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_TRUE(input.control().presses().empty()) << "a paste of nothing deletes what is selected";
}

TEST_F(TextInserterTest, ReadsTheClipboardAheadOnlyWhenPrepared) {
    inserter.prepare();
    EXPECT_EQ(pasteboard.control().prefetches(), 1);
    EXPECT_TRUE(isUntouched());
    inserter.dropPrepared();
    EXPECT_EQ(pasteboard.control().drops(), 1);

    runtime.wait(inserter.insert("dictated"));
    EXPECT_EQ(pasteboard.control().prefetches(), 1);
}

TEST_F(TextInserterTest, ChangesNothingIfCancelledBeforeItBegins) {
    const auto task = insert("dictated");
    task.cancel();
    runtime.clock().advance(1);

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(tokenOf(task).text, "dictated");
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(pressTimes.empty());
}

TEST_F(TextInserterTest, RestoresWithoutPastingWhenCancelledWhileItSavesTheContents) {
    runtime::TaskHandle<InsertionToken> task;
    pasteboard.control().setOnCall([&task](FakePasteboard::Call call) {
        if (call == FakePasteboard::Call::items)
            task.cancel();
    });
    task = insert("dictated");
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(tokenOf(task).text, "dictated");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_TRUE(pressTimes.empty());
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(TextInserterTest, RestoresWithoutPastingWhenCancelledWhileItWritesTheText) {
    runtime::TaskHandle<InsertionToken> task;
    pasteboard.control().setOnCall([&task](FakePasteboard::Call call) {
        if (call == FakePasteboard::Call::setString)
            task.cancel();
    });
    task = insert("dictated");
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_TRUE(pressTimes.empty());
}

TEST_F(TextInserterTest, PastesAndRestoresAtOnceWhenCancelledBeforeThePaste) {
    const auto task = insert("dictated");
    runtime.clock().advance(0.02);
    task.cancel();
    runtime.runUntilIdle();

    ASSERT_TRUE(task.isDone());
    ASSERT_EQ(pressTimes.size(), 1u);
    EXPECT_NEAR(pressTimes.front(), 0.02, tests::epsilon);
    EXPECT_EQ(pastedTexts.front(), "dictated");
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(tokenOf(task).text, "dictated");
}

TEST_F(TextInserterTest, RestoresAtOnceWhenCancelledDuringThePaste) {
    runtime::TaskHandle<InsertionToken> task;
    input.control().setOnPress([&task](Press) { task.cancel(); });
    task = insert("dictated");
    runtime.clock().advance(0.05 + tests::epsilon);

    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(input.control().count(Press::paste), 1);
}

TEST_F(TextInserterTest, RestoresAtOnceWhenCancelledAfterThePaste) {
    const auto task = insert("dictated");
    runtime.clock().advance(0.15);
    ASSERT_EQ(onPasteboard(), "dictated");
    task.cancel();
    runtime.runUntilIdle();

    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(onPasteboard(), "the user's");
    EXPECT_EQ(input.control().count(Press::paste), 1);
}

TEST_F(TextInserterTest, AllowsASecondInsertionDuringASleepOfTheFirst) {
    insert("first");
    runtime.clock().advance(0.02);
    insert("second");
    runtime.clock().advance(1);

    EXPECT_EQ(pastedTexts, (std::vector<std::optional<std::string>>{"second", "second"}));
    EXPECT_EQ(onPasteboard(), "first");
}

TEST_F(TextInserterTest, LeavesThePasteboardEmptyIfItCouldNotBeRead) {
    using Call = FakePasteboard::Call;
    pasteboard.control().setUnavailable(true);
    pasteboard.control().setOnCall([this](Call call) {
        if (call == Call::items)
            pasteboard.control().setUnavailable(false);
    });
    const auto token = runtime.wait(inserter.insert("dictated"));
    EXPECT_EQ(token.text, "dictated");
    EXPECT_EQ(pastedTexts, std::vector<std::optional<std::string>>{"dictated"});
    EXPECT_TRUE(pasteboard.control().contents().empty());
    EXPECT_EQ(pasteboard.control().calls().back(), Call::clearContents) << "there is nothing to write";
}

TEST_F(TextInserterTest, WaitsEvenIfNothingIsUndone) {
    const auto task = undo(0);
    runtime.clock().advance(0.1 - tests::epsilon);
    EXPECT_FALSE(task.isDone());
    runtime.clock().advance(2 * tests::epsilon);
    EXPECT_TRUE(task.isDone());
    EXPECT_TRUE(input.control().presses().empty());
}

TEST_F(TextInserterTest, Presses80MillisecondsApartAndWaitsAnother100) {
    const auto task = undo(2);
    runtime.clock().advance(0.26 - tests::epsilon);
    EXPECT_FALSE(task.isDone());
    runtime.clock().advance(2 * tests::epsilon);
    EXPECT_TRUE(task.isDone());

    EXPECT_EQ(input.control().presses(), (std::vector{Press::undo, Press::undo}));
    ASSERT_EQ(pressTimes.size(), 2u);
    EXPECT_NEAR(pressTimes[0], 0, tests::epsilon);
    EXPECT_NEAR(pressTimes[1], 0.08, tests::epsilon);
    EXPECT_TRUE(isUntouched());
}

TEST_F(TextInserterTest, SkipsTheRemainingPressesIfInterruptedBetweenThem) {
    const auto task = undo(5);
    runtime.clock().advance(0.1);
    ASSERT_EQ(input.control().count(Press::undo), 2);
    task.cancel();
    runtime.runUntilIdle();

    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(input.control().count(Press::undo), 2);
    EXPECT_EQ(runtime.clock().pending(), 0u);
}

TEST_F(TextInserterTest, EndsAtOnceIfTheLastWaitIsInterrupted) {
    const auto task = undo(1);
    runtime.clock().advance(0.1);
    ASSERT_FALSE(task.isDone());
    task.cancel();
    runtime.runUntilIdle();
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(input.control().count(Press::undo), 1);
}

TEST_F(TextInserterTest, AbortsOnANegativeCount) {
    EXPECT_DEATH({ [[maybe_unused]] const auto task = inserter.undo(-1); }, "negative");
}

TEST(TextInserterOnThreads, WorksOnItsOwnActorAndResumesOnTheCallers) {
    const auto registry = std::make_shared<runtime::TaskRegistry>();
    tests::TestRuntime callers;
    FakePasteboard pasteboard;
    FakeSyntheticInput input;
    std::atomic<std::thread::id> pressedOn;
    input.control().setOnPress([&pressedOn](Press) { pressedOn = std::this_thread::get_id(); });
    runtime::TaskPool pool(2, registry);
    TextInserter inserter(pool.makeSerialActor("TextInserter"), callers.clock(), ClipboardManager(pasteboard),
                          input);

    const auto task = runtime::spawn(callers.main(), inserter.insert("dictated"));
    const double limit = tests::monotonicSeconds() + 20;
    while (!task.isDone() && tests::monotonicSeconds() < limit) {
        callers.runUntilIdle();
        callers.clock().advance(0.05);
        std::this_thread::yield();
    }

    ASSERT_TRUE(task.isDone());
    EXPECT_NE(pressedOn.load(), std::this_thread::get_id());
    EXPECT_EQ(std::get<1>(task.state()->outcome).text, "dictated");
    pool.join();
}

} // namespace sonvale::insertion
