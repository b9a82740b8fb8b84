#include "persistence/ModelContext.h"

#include "persistence/SqlColumns.h"
#include "persistence/StagedChanges.h"
#include "persistence/Store.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Transaction.h>
#include <fmt/format.h>

#include <numeric>
#include <tuple>

namespace sonvale::persistence {

namespace {

std::string_view sqlOperator(Comparison comparison) {
    switch (comparison) {
    case Comparison::equal:
        return "=";
    case Comparison::less:
        return "<";
    case Comparison::greaterOrEqual:
        return ">=";
    }
    return "=";
}

template <class R>
std::string conditions(const FetchDescriptor<R>& descriptor) {
    std::string sql;
    std::string_view joint = " WHERE ";
    for (const auto& condition : descriptor.where) {
        sql += fmt::format("{}{} {} ?", joint, condition.column, sqlOperator(condition.comparison));
        joint = " AND ";
    }
    return sql;
}

template <class R>
std::string selection(const FetchDescriptor<R>& descriptor) {
    auto sql = fmt::format("SELECT {} FROM {}{} ORDER BY ", columnNames<R>(), RecordTable<R>::name,
                           conditions(descriptor));
    for (const auto& sort : descriptor.sortBy)
        sql += fmt::format("{} {}, ", sort.column, sort.order == SortOrder::forward ? "ASC" : "DESC");
    return sql + "sequence";
}

/// Returns whether the store itself can evaluate the descriptor.
template <class R>
bool isWhollySql(const FetchDescriptor<R>& descriptor) {
    return !descriptor.text && !descriptor.predicate;
}

template <class R>
void bindConditions(SQLite::Statement& statement, const FetchDescriptor<R>& descriptor) {
    int index = 0;
    for (const auto& condition : descriptor.where)
        std::visit([&](const auto& value) { bindValue(statement, ++index, value); }, condition.value);
}

/// Passes the rows that match the text condition to `take`, in the descriptor's order, until it returns
/// false.
template <class R, class Take>
void readStored(SQLite::Database& database, const FetchDescriptor<R>& descriptor, Take take) {
    auto sql = selection(descriptor);
    if (isWhollySql(descriptor) && (descriptor.limit || descriptor.offset > 0))
        sql += fmt::format(" LIMIT {} OFFSET {}",
                           descriptor.limit ? static_cast<std::int64_t>(*descriptor.limit) : -1,
                           descriptor.offset);
    SQLite::Statement statement(database, sql);
    bindConditions(statement, descriptor);
    const auto& rule = descriptor.text;
    const int ruledColumn = rule ? columnIndex(rule->field) : 0;
    std::string text;
    while (statement.executeStep()) {
        if (rule) {
            text = columnText(statement.getColumn(ruledColumn));
            if (!rule->holds(text))
                continue;
        }
        if (!take(readRecord<R>(statement)))
            return;
    }
}

template <class R>
bool matches(const R& record, const FetchDescriptor<R>& descriptor) {
    for (const auto& condition : descriptor.where) {
        if (!condition.holds(record))
            return false;
    }
    if (descriptor.text && !descriptor.text->holds(record.*descriptor.text->field))
        return false;
    return !descriptor.predicate || descriptor.predicate(record);
}

template <class R>
bool isBefore(const R& a, const R& b, const FetchDescriptor<R>& descriptor) {
    for (const auto& sort : descriptor.sortBy) {
        if (sort.isLess(a, b))
            return sort.order == SortOrder::forward;
        if (sort.isLess(b, a))
            return sort.order == SortOrder::reverse;
    }
    return false;
}

/// Collects records until the descriptor's limit is reached.
template <class R>
class Window {
public:
    explicit Window(const FetchDescriptor<R>& descriptor)
        : descriptor_(descriptor) {}

    bool isFull() const { return descriptor_.limit && records_.size() >= *descriptor_.limit; }
    void add(R record) {
        if (passed_ < descriptor_.offset)
            ++passed_;
        else if (!isFull())
            records_.push_back(std::move(record));
    }
    std::vector<R> take() { return std::move(records_); }

private:
    const FetchDescriptor<R>& descriptor_;
    std::size_t passed_ = 0;
    std::vector<R> records_;
};

template <class R>
std::vector<R> fetchStored(SQLite::Database& database, const FetchDescriptor<R>& descriptor) {
    if (isWhollySql(descriptor)) {
        std::vector<R> records;
        readStored<R>(database, descriptor, [&](R record) {
            records.push_back(std::move(record));
            return true;
        });
        return records;
    }
    Window<R> window(descriptor);
    if (!window.isFull()) {
        readStored<R>(database, descriptor, [&](R record) {
            if (!descriptor.predicate || descriptor.predicate(record))
                window.add(std::move(record));
            return !window.isFull();
        });
    }
    return window.take();
}

template <class R>
std::vector<R> fetchWithChanges(SQLite::Database& database, const StagedChanges<R>& staged,
                                const FetchDescriptor<R>& descriptor) {
    std::vector<R> stored;
    readStored<R>(database, {}, [&](R record) {
        stored.push_back(std::move(record));
        return true;
    });
    auto records = staged.applied(std::move(stored));
    std::erase_if(records, [&](const R& record) { return !matches(record, descriptor); });

    std::vector<std::size_t> order(records.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, [&](std::size_t a, std::size_t b) {
        if (isBefore(records[a], records[b], descriptor))
            return true;
        return a < b && !isBefore(records[b], records[a], descriptor);
    });
    Window<R> window(descriptor);
    for (const auto index : order)
        window.add(std::move(records[index]));
    return window.take();
}

template <class R>
std::size_t countStored(SQLite::Database& database, const FetchDescriptor<R>& descriptor) {
    SQLite::Statement statement(
        database, fmt::format("SELECT count(*) FROM {}{}", RecordTable<R>::name, conditions(descriptor)));
    bindConditions(statement, descriptor);
    statement.executeStep();
    return static_cast<std::size_t>(statement.getColumn(0).getInt64());
}

void visitFigures(SQLite::Database& database, const std::function<void(const TranscriptionFigures&)>& visit) {
    SQLite::Statement statement(database, "SELECT timestamp, wordCount, durationSeconds FROM Transcription "
                                          "ORDER BY timestamp DESC, sequence");
    while (statement.executeStep()) {
        TranscriptionFigures figures;
        readValue(statement.getColumn(0), figures.timestamp);
        readValue(statement.getColumn(1), figures.wordCount);
        readValue(statement.getColumn(2), figures.durationSeconds);
        visit(figures);
    }
}

template <class R>
void write(SQLite::Database& database, const StagedChanges<R>& staged) {
    if (staged.isEmpty())
        return;
    constexpr auto table = RecordTable<R>::name;
    const auto marks = columnList<R>([](const auto&) { return "?"; });
    const auto assignments = columnList<R>(
        [](const auto& column) { return fmt::format("{} = excluded.{}", column.name, column.name); });
    SQLite::Statement insertion(
        database, fmt::format("INSERT INTO {} ({}) VALUES ({}) ON CONFLICT (id) DO UPDATE SET {}", table,
                              columnNames<R>(), marks, assignments));
    for (const auto& record : staged.inserted()) {
        bindRecord(insertion, record);
        insertion.exec();
        insertion.reset();
    }

    const auto settings =
        columnList<R>([](const auto& column) { return fmt::format("{} = ?", column.name); });
    SQLite::Statement change(database, fmt::format("UPDATE {} SET {} WHERE id = ?1", table, settings));
    for (const auto& [id, record] : staged.updated()) {
        bindRecord(change, record);
        change.exec();
        change.reset();
    }

    SQLite::Statement removal(database, fmt::format("DELETE FROM {} WHERE id = ?", table));
    for (const auto& id : staged.removed()) {
        bindValue(removal, 1, id);
        removal.exec();
        removal.reset();
    }
}

/// Increases with each change of a record of the type.
template <class R>
struct Revision {
    base::Observed<std::uint64_t> number;
};

} // namespace

struct ModelContext::Impl {
    std::unique_ptr<Store> store;
    std::tuple<StagedChanges<Transcription>, StagedChanges<AppSettings>, StagedChanges<Snippet>,
               StagedChanges<DictionaryEntry>, StagedChanges<WritingStyle>>
        staged;
    std::tuple<Revision<Transcription>, Revision<AppSettings>, Revision<Snippet>, Revision<DictionaryEntry>,
               Revision<WritingStyle>>
        revisions;

    template <class R>
    StagedChanges<R>& changes() {
        return std::get<StagedChanges<R>>(staged);
    }

    template <class R>
    base::Observed<std::uint64_t>& revision() {
        return std::get<Revision<R>>(revisions).number;
    }

    template <class R>
    void announce() {
        revision<R>().set(*revision<R>() + 1);
    }
};

ModelContext::ModelContext(std::unique_ptr<Store> store)
    : impl_(std::make_unique<Impl>()) {
    impl_->store = std::move(store);
}

ModelContext::~ModelContext() = default;

template <class R>
void ModelContext::insert(R record) {
    impl_->changes<R>().insert(std::move(record));
    impl_->announce<R>();
}

template <class R>
void ModelContext::update(R record) {
    impl_->changes<R>().update(std::move(record));
    impl_->announce<R>();
}

template <class R>
void ModelContext::remove(const R& record) {
    impl_->changes<R>().remove(record.id);
    impl_->announce<R>();
}

void ModelContext::save() {
    const bool hasChanges =
        std::apply([](const auto&... changes) { return (!changes.isEmpty() || ...); }, impl_->staged);
    if (!hasChanges)
        return;
    try {
        auto& database = impl_->store->database();
        SQLite::Transaction transaction(database);
        std::apply([&](const auto&... changes) { (write(database, changes), ...); }, impl_->staged);
        transaction.commit();
    } catch (const SQLite::Exception& error) {
        throw StoreError(StoreError::Case::saveFailed, error.what());
    }
    impl_->store->synchronizeSoon();
    std::apply([](auto&... changes) { (changes.clear(), ...); }, impl_->staged);
}

template <class R>
std::vector<R> ModelContext::fetch(const FetchDescriptor<R>& descriptor) const {
    auto& database = impl_->store->database();
    const auto& staged = impl_->changes<R>();
    try {
        if (staged.isEmpty())
            return fetchStored(database, descriptor);
        return fetchWithChanges(database, staged, descriptor);
    } catch (const SQLite::Exception& error) {
        throw StoreError(StoreError::Case::fetchFailed, error.what());
    }
}

template <class R>
std::size_t ModelContext::fetchCount(const FetchDescriptor<R>& descriptor) const {
    if (!impl_->changes<R>().isEmpty() || !isWhollySql(descriptor))
        return fetch(descriptor).size();
    try {
        return countStored(impl_->store->database(), descriptor);
    } catch (const SQLite::Exception& error) {
        throw StoreError(StoreError::Case::fetchFailed, error.what());
    }
}

void ModelContext::eachTranscription(const std::function<void(const TranscriptionFigures&)>& visit) const {
    if (!impl_->changes<Transcription>().isEmpty()) {
        for (const auto& one :
             fetch<Transcription>({.sortBy = {{&Transcription::timestamp, SortOrder::reverse}}}))
            visit({one.timestamp, one.wordCount, one.durationSeconds});
        return;
    }
    try {
        visitFigures(impl_->store->database(), visit);
    } catch (const SQLite::Exception& error) {
        throw StoreError(StoreError::Case::fetchFailed, error.what());
    }
}

template <class R>
base::Subscription ModelContext::onChange(std::function<void()> observer) {
    return impl_->revision<R>().subscribe([observer = std::move(observer)](std::uint64_t) { observer(); });
}

#define SONVALE_INSTANTIATE(R)                                                                               \
    template void ModelContext::insert(R);                                                                   \
    template void ModelContext::update(R);                                                                   \
    template void ModelContext::remove(const R&);                                                            \
    template std::vector<R> ModelContext::fetch(const FetchDescriptor<R>&) const;                            \
    template std::size_t ModelContext::fetchCount(const FetchDescriptor<R>&) const;                          \
    template base::Subscription ModelContext::onChange<R>(std::function<void()>);

SONVALE_INSTANTIATE(Transcription)
SONVALE_INSTANTIATE(AppSettings)
SONVALE_INSTANTIATE(Snippet)
SONVALE_INSTANTIATE(DictionaryEntry)
SONVALE_INSTANTIATE(WritingStyle)

#undef SONVALE_INSTANTIATE

} // namespace sonvale::persistence
