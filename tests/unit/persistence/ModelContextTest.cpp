#include "persistence/ModelContainer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <limits>
#include <memory>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using NameList = std::vector<std::string>;

class ModelContextTest : public testing::Test {
protected:
    ModelContextTest() { open(); }

    void open() {
        close();
        container_ = ModelContainer::open(support());
    }
    void close() { container_.reset(); }

    fs::path support() const { return root_.path(); }
    fs::path store() const { return support() / "Sonvale/Sonvale.store"; }
    ModelContext& context() { return container_->mainContext(); }

    static Snippet snippet(std::string trigger, std::int64_t usageCount = 0) {
        return Snippet{.trigger = std::move(trigger), .content = "content", .usageCount = usageCount};
    }

    NameList triggers(const FetchDescriptor<Snippet>& descriptor = {}) {
        NameList names;
        for (const auto& one : context().fetch(descriptor))
            names.push_back(one.trigger);
        return names;
    }

    /// Returns the number of snippets in the file, read through another connection.
    std::int64_t storedSnippets() const {
        SQLite::Database database(store().string());
        return database.execAndGet("SELECT count(*) FROM Snippet").getInt64();
    }

    tests::LogCapture log_;

private:
    tests::TemporaryDirectory root_;
    std::unique_ptr<ModelContainer> container_;
};

Transcription fullTranscription() {
    return Transcription{.rawText = std::string("raw ") + '\0' + " '\"; DROP TABLE \U0001F600",
                         .processedText = "",
                         .timestamp = base::Date(1794790748123456789ns),
                         .appBundleID = "com.example.app",
                         .appName = "",
                         .wordCount = std::numeric_limits<std::int64_t>::max(),
                         .durationSeconds = 1.0 / 3,
                         .isDismissed = true};
}

} // namespace

TEST_F(ModelContextTest, KeepsEveryFieldOfEveryRecordOverARestart) {
    const auto transcription = fullTranscription();
    const Transcription empty{};
    const AppSettings appSettings{.hotkeyKeyCode = -1,
                                  .hotkeyModifiers = 0x80000,
                                  .transcriptionEngine = "cloud",
                                  .language = "de",
                                  .launchAtLogin = true,
                                  .soundEffectsEnabled = true,
                                  .aiProcessingEnabled = true,
                                  .claudeModel = "model",
                                  .privacyModeEnabled = true,
                                  .retentionPeriodDays = 7,
                                  .localOnlyMode = true,
                                  .textProcessingProvider = "provider"};
    const Snippet one{
        .trigger = "t", .content = "c", .category = "k", .createdAt = base::Date(-1ns), .usageCount = 3};
    const DictionaryEntry word{.word = "w",
                               .expansion = "longer",
                               .category = EntryCategory::technical,
                               .createdAt = base::Date(5s)};
    const DictionaryEntry bare{.word = "b", .expansion = std::nullopt, .category = EntryCategory::name};
    const WritingStyle style{
        .category = "email", .formality = 5, .customInstructions = "i", .exampleText = "e"};
    context().insert(transcription);
    context().insert(empty);
    context().insert(appSettings);
    context().insert(one);
    context().insert(word);
    context().insert(bare);
    context().insert(style);
    context().save();

    open();

    EXPECT_EQ(context().fetch<Transcription>(), (std::vector{transcription, empty}));
    EXPECT_EQ(context().fetch<AppSettings>(), std::vector{appSettings});
    EXPECT_EQ(context().fetch<Snippet>(), std::vector{one});
    EXPECT_EQ(context().fetch<DictionaryEntry>(), (std::vector{word, bare}));
    EXPECT_EQ(context().fetch<WritingStyle>(), std::vector{style});
}

TEST_F(ModelContextTest, ShowsStagedChangesBeforeTheyAreSaved) {
    auto kept = snippet("kept");
    const auto dropped = snippet("dropped");
    context().insert(kept);
    context().insert(dropped);
    context().save();

    kept.trigger = "changed";
    context().update(kept);
    context().remove(dropped);
    context().insert(snippet("new"));

    EXPECT_EQ(triggers(), (NameList{"changed", "new"}));
    EXPECT_EQ(storedSnippets(), 2);
    context().save();
    EXPECT_EQ(triggers(), (NameList{"changed", "new"}));
    open();
    EXPECT_EQ(triggers(), (NameList{"changed", "new"}));
}

TEST_F(ModelContextTest, LosesUnsavedChanges) {
    context().insert(snippet("unsaved"));
    EXPECT_EQ(triggers(), NameList{"unsaved"});
    open();
    EXPECT_EQ(triggers(), NameList{});
}

TEST_F(ModelContextTest, FetchesInOrderOfInsertion) {
    const auto second = snippet("b");
    context().insert(snippet("c"));
    context().insert(second);
    context().insert(snippet("a"));
    context().save();
    EXPECT_EQ(triggers(), (NameList{"c", "b", "a"}));
    context().remove(second);
    context().insert(snippet("d"));
    EXPECT_EQ(triggers(), (NameList{"c", "a", "d"}));
    context().save();
    context().insert(snippet("e"));
    context().save();
    EXPECT_EQ(triggers(), (NameList{"c", "a", "d", "e"}));
}

TEST_F(ModelContextTest, SortsAndLimitsEquallyWithAndWithoutStagedChanges) {
    for (const bool saved : {true, false}) {
        open();
        for (auto& old : context().fetch<Snippet>())
            context().remove(old);
        context().save();
        for (const auto& [trigger, count] : std::initializer_list<std::pair<const char*, int>>{
                 {"b", 2}, {"a", 1}, {"B", 2}, {"\u00E9", 1}, {"c", 3}})
            context().insert(snippet(trigger, count));
        if (saved)
            context().save();

        using Sort = SortDescriptor<Snippet>;
        EXPECT_EQ(triggers({.sortBy = {{&Snippet::trigger, SortOrder::forward}}}),
                  (NameList{"B", "a", "b", "c", "\u00E9"}));
        EXPECT_EQ(triggers({.sortBy = {Sort(&Snippet::usageCount, SortOrder::reverse),
                                       Sort(&Snippet::trigger, SortOrder::forward)}}),
                  (NameList{"c", "B", "b", "a", "\u00E9"}));
        EXPECT_EQ(triggers({.sortBy = {Sort(&Snippet::usageCount, SortOrder::reverse)}}),
                  (NameList{"c", "b", "B", "a", "\u00E9"}));
        EXPECT_EQ(triggers({.sortBy = {{&Snippet::trigger, SortOrder::forward}}, .limit = 2, .offset = 1}),
                  (NameList{"a", "b"}));
        EXPECT_EQ(triggers({.limit = 0}), NameList{});
        EXPECT_EQ(triggers({.limit = 9, .offset = 4}), NameList{"c"});
        EXPECT_EQ(triggers({.offset = 9}), NameList{});
    }
}

TEST_F(ModelContextTest, FiltersEquallyWithAndWithoutStagedChanges) {
    const auto now = base::Date(1000s);
    for (const bool saved : {true, false}) {
        context().insert(Transcription{.rawText = "old", .timestamp = now - 1ns});
        context().insert(Transcription{.rawText = "exact", .timestamp = now});
        context().insert(Transcription{.rawText = "dismissed", .timestamp = now + 1ns, .isDismissed = true});
        if (saved)
            context().save();
        const auto fetched = [&](const FetchDescriptor<Transcription>& descriptor) {
            NameList names;
            for (const auto& row : context().fetch(descriptor))
                names.push_back(row.rawText);
            return names;
        };
        using Condition = FieldCondition<Transcription>;
        EXPECT_EQ(fetched({.where = {Condition(&Transcription::timestamp, Comparison::less, now)}}),
                  NameList{"old"});
        EXPECT_EQ(fetched({.where = {Condition(&Transcription::timestamp, Comparison::greaterOrEqual, now)}}),
                  (NameList{"exact", "dismissed"}));
        EXPECT_EQ(fetched({.where = {Condition(&Transcription::isDismissed, Comparison::equal, true)}}),
                  NameList{"dismissed"});
        EXPECT_EQ(fetched({.where = {Condition(&Transcription::rawText, Comparison::equal, "exact"),
                                     Condition(&Transcription::isDismissed, Comparison::equal, false)}}),
                  NameList{"exact"});
        EXPECT_EQ(
            fetched({.where = {Condition(&Transcription::timestamp, Comparison::greaterOrEqual, now)},
                     .predicate = [](const Transcription& row) { return row.rawText.starts_with('e'); }}),
            NameList{"exact"});
        EXPECT_EQ(fetched({.predicate = [](const Transcription& row) { return row.rawText != "old"; },
                           .limit = 1,
                           .offset = 1}),
                  NameList{"dismissed"});
        for (auto& row : context().fetch<Transcription>())
            context().remove(row);
        context().save();
    }
}

TEST_F(ModelContextTest, FiltersByOneTextEquallyWithAndWithoutStagedChanges) {
    for (const bool saved : {true, false}) {
        for (const auto* trigger : {"b", "ab", "c", "bb"})
            context().insert(snippet(trigger));
        if (saved)
            context().save();
        const TextCondition<Snippet> endsInB{&Snippet::trigger,
                                             [](const std::string& text) { return text.ends_with('b'); }};
        const auto isLong = [](const Snippet& one) { return one.trigger.size() > 1; };
        EXPECT_EQ(triggers({.text = endsInB}), (NameList{"b", "ab", "bb"}));
        EXPECT_EQ(triggers({.text = endsInB, .limit = 1, .offset = 1}), NameList{"ab"});
        EXPECT_EQ(triggers({.text = endsInB, .predicate = isLong}), (NameList{"ab", "bb"}));
        EXPECT_EQ(triggers({.text = endsInB, .sortBy = {{&Snippet::trigger, SortOrder::reverse}}}),
                  (NameList{"bb", "b", "ab"}));
        EXPECT_EQ(context().fetch<Snippet>({.text = endsInB}).front().content, "content");
        for (auto& old : context().fetch<Snippet>())
            context().remove(old);
        context().save();
    }
}

TEST_F(ModelContextTest, SortsAbsentTextFirst) {
    for (const bool saved : {true, false}) {
        context().insert(Transcription{.rawText = "2", .appName = "a"});
        context().insert(Transcription{.rawText = "1", .appName = std::nullopt});
        if (saved)
            context().save();
        EXPECT_EQ(context()
                      .fetch<Transcription>({.sortBy = {{&Transcription::appName, SortOrder::forward}}})
                      .front()
                      .rawText,
                  "1");
        for (auto& row : context().fetch<Transcription>())
            context().remove(row);
        context().save();
    }
}

TEST_F(ModelContextTest, CombinesChangesOfAnUnsavedRecord) {
    auto record = snippet("a");
    context().insert(record);
    record.trigger = "b";
    context().update(record);
    EXPECT_EQ(triggers(), NameList{"b"});
    context().remove(record);
    record.trigger = "c";
    context().update(record);
    EXPECT_EQ(triggers(), NameList{});
    context().save();
    EXPECT_EQ(storedSnippets(), 0);
}

TEST_F(ModelContextTest, ChangesNothingForAnUnknownIdentifier) {
    context().update(snippet("unknown"));
    context().remove(snippet("unknown too"));
    EXPECT_EQ(triggers(), NameList{});
    context().save();
    EXPECT_EQ(triggers(), NameList{});
}

TEST_F(ModelContextTest, UpdatesTheRecordOfAKnownIdentifier) {
    auto record = snippet("first");
    context().insert(record);
    context().insert(snippet("second"));
    context().save();
    record.trigger = "again";
    context().insert(record);
    EXPECT_EQ(triggers(), (NameList{"again", "second"}));
    context().save();
    EXPECT_EQ(triggers(), (NameList{"again", "second"}));
    EXPECT_EQ(storedSnippets(), 2);
}

TEST_F(ModelContextTest, KeepsStagedChangesAfterAFailedSave) {
    auto kept = snippet("kept");
    const auto dropped = snippet("dropped");
    context().insert(kept);
    context().insert(dropped);
    context().save();
    {
        const tests::FileSizeLimit fullDisk(fs::file_size(store().string() + "-wal"));
        kept.usageCount = 1;
        context().update(kept);
        context().remove(dropped);
        context().insert(snippet("new"));
        try {
            context().save();
            FAIL();
        } catch (const StoreError& error) {
            EXPECT_EQ(error.errorCase(), StoreError::Case::saveFailed);
            EXPECT_EQ(error.errorDescription().find("new"), std::string::npos);
        }
        EXPECT_EQ(triggers(), (NameList{"kept", "new"}));
        EXPECT_THROW(context().save(), StoreError);
    }
    context().insert(snippet("later"));
    context().save();
    open();
    EXPECT_EQ(triggers(), (NameList{"kept", "new", "later"}));
    EXPECT_EQ(context().fetch<Snippet>().front().usageCount, 1);
}

TEST_F(ModelContextTest, FailsToSaveALockedStoreAfterALimitedWait) {
    SQLite::Database other(store().string(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN IMMEDIATE");
    context().insert(snippet("a"));
    const double start = tests::monotonicSeconds();
    EXPECT_THROW(context().save(), StoreError);
    EXPECT_LT(tests::monotonicSeconds() - start, 10);
    other.exec("ROLLBACK");
    context().save();
    EXPECT_EQ(storedSnippets(), 1);
}

TEST_F(ModelContextTest, ThrowsIfAFetchFails) {
    {
        SQLite::Database other(store().string(), SQLite::OPEN_READWRITE);
        other.exec("DROP TABLE Snippet");
    }
    try {
        context().fetch<Snippet>();
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.errorCase(), StoreError::Case::fetchFailed);
    }
    EXPECT_TRUE(context().fetch<Transcription>().empty());
}

TEST_F(ModelContextTest, StoresNumbersThatAreNotFinite) {
    context().insert(
        Transcription{.rawText = "a", .durationSeconds = std::numeric_limits<double>::quiet_NaN()});
    context().insert(
        Transcription{.rawText = "b", .durationSeconds = std::numeric_limits<double>::infinity()});
    context().save();
    for (const auto& row : context().fetch<Transcription>())
        EXPECT_EQ(row.durationSeconds, 0);
}

TEST_F(ModelContextTest, ReadsAWordOfAnUnknownKindAsOther) {
    context().insert(DictionaryEntry{.word = "w", .category = EntryCategory::name});
    context().save();
    {
        SQLite::Database other(store().string(), SQLite::OPEN_READWRITE);
        other.exec("UPDATE DictionaryEntry SET category = 'of a later version'");
    }
    EXPECT_EQ(context().fetch<DictionaryEntry>().at(0).category, EntryCategory::other);
}

TEST_F(ModelContextTest, NotifiesObserversOfEachStagedChange) {
    int heard = 0;
    auto record = snippet("a");
    auto subscription = context().onChange<Snippet>([&] { ++heard; });
    context().insert(WritingStyle{.category = "email"});
    EXPECT_EQ(heard, 0) << "of another type";
    context().insert(record);
    context().update(record);
    context().remove(record);
    EXPECT_EQ(heard, 3);
    context().save();
    EXPECT_EQ(heard, 3);
    subscription.reset();
    context().insert(record);
    EXPECT_EQ(heard, 3);
}

TEST_F(ModelContextTest, FetchesAPageOfTheHistoryNewestFirst) {
    for (int i = 0; i < 10; ++i)
        context().insert(
            Transcription{.rawText = std::to_string(i), .timestamp = base::Date(std::chrono::hours(i / 2))});
    const auto page = [&](std::size_t offset, std::size_t limit) {
        std::string texts;
        for (const auto& one :
             context().fetch<Transcription>({.sortBy = {{&Transcription::timestamp, SortOrder::reverse}},
                                             .limit = limit,
                                             .offset = offset}))
            texts += one.rawText;
        return texts;
    };
    for (const bool isSaved : {false, true}) {
        if (isSaved)
            context().save();
        EXPECT_EQ(page(0, 3), "896") << isSaved;
        EXPECT_EQ(page(3, 4), "7452") << isSaved;
        EXPECT_EQ(page(8, 9), "01") << isSaved;
        EXPECT_EQ(page(10, 9), "") << isSaved;
        EXPECT_EQ(page(0, 0), "") << isSaved;
        EXPECT_EQ(context().fetchCount<Transcription>(), 10U) << isSaved;
        EXPECT_EQ(context().fetchCount<Transcription>(
                      {.where = {{&Transcription::timestamp, Comparison::less, base::Date(2h)}}}),
                  4U)
            << isSaved;
    }
}

TEST_F(ModelContextTest, VisitsTheFiguresOfTheHistoryNewestFirst) {
    const TranscriptionFigures older{base::Date(1h), 7, 2.5};
    const TranscriptionFigures newer{base::Date(2h), 3, 0};
    for (const auto& each : {older, newer})
        context().insert(Transcription{.timestamp = each.timestamp,
                                       .wordCount = each.wordCount,
                                       .durationSeconds = each.durationSeconds});
    for (const bool isSaved : {false, true}) {
        if (isSaved)
            context().save();
        std::vector<TranscriptionFigures> seen;
        context().eachTranscription([&](const auto& figures) { seen.push_back(figures); });
        EXPECT_EQ(seen, (std::vector{newer, older})) << isSaved;
    }
}

TEST_F(ModelContextTest, AddsTheIndexOfTheHistoryToAnOlderStore) {
    const auto indices = [&] {
        SQLite::Database database(store().string());
        SQLite::Statement all(
            database, "SELECT name FROM sqlite_master WHERE name LIKE 'Transcription%' AND type = 'index'");
        NameList names;
        while (all.executeStep())
            names.push_back(all.getColumn(0).getString());
        return names;
    };
    close();
    {
        SQLite::Database other(store().string(), SQLite::OPEN_READWRITE);
        other.exec("DROP INDEX TranscriptionNewestFirst");
        other.exec("CREATE INDEX TranscriptionByTime ON Transcription (timestamp)");
    }
    open();
    EXPECT_EQ(indices(), NameList{"TranscriptionNewestFirst"});
}

TEST_F(ModelContextTest, KeepsSavedRecordsIfTheProcessIsKilled) {
    close();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto own = ModelContainer::open(support());
        for (int i = 0; i < 20; ++i) {
            own->mainContext().insert(snippet(std::to_string(i)));
            own->mainContext().save();
        }
        own->mainContext().insert(snippet("unsaved"));
        ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    open();
    EXPECT_EQ(triggers().size(), 20U);
    EXPECT_EQ(triggers().back(), "19");
}

} // namespace sonvale::persistence
