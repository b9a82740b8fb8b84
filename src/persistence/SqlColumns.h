#pragma once

#include "persistence/RecordTable.h"

#include <SQLiteCpp/Column.h>
#include <SQLiteCpp/Statement.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

/// Conversion between the fields of records and SQL values. Dates are nanoseconds since 1970, identifiers are
/// texts, absent values are NULL.
namespace sonvale::persistence {

template <class M>
constexpr std::string_view sqlType() {
    if constexpr (std::is_same_v<M, double>)
        return "REAL";
    else if constexpr (std::is_same_v<M, std::int64_t> || std::is_same_v<M, bool> ||
                       std::is_same_v<M, base::Date>)
        return "INTEGER";
    else
        return "TEXT";
}

inline void bindValue(SQLite::Statement& statement, int index, const std::string& text) {
    statement.bind(index, text);
}
inline void bindValue(SQLite::Statement& statement, int index, std::int64_t number) {
    statement.bind(index, number);
}
inline void bindValue(SQLite::Statement& statement, int index, bool flag) {
    statement.bind(index, std::int64_t{flag});
}
inline void bindValue(SQLite::Statement& statement, int index, double number) {
    statement.bind(index, std::isfinite(number) ? number : 0.0);
}
inline void bindValue(SQLite::Statement& statement, int index, base::Date date) {
    statement.bind(index, std::int64_t{date.time_since_epoch().count()});
}
inline void bindValue(SQLite::Statement& statement, int index, const base::Uuid& id) {
    statement.bind(index, id.toString());
}
inline void bindValue(SQLite::Statement& statement, int index, EntryCategory category) {
    statement.bind(index, std::string(rawValue(category)));
}
inline void bindValue(SQLite::Statement& statement, int index, const std::optional<std::string>& text) {
    if (text)
        statement.bind(index, *text);
    else
        statement.bind(index);
}

/// Returns the column's text in the library's memory, which is valid until the next step.
inline std::string_view columnText(const SQLite::Column& column) {
    const char* text = column.getText();
    return {text, static_cast<std::size_t>(column.getBytes())};
}

inline void readValue(const SQLite::Column& column, std::string& text) {
    text = column.getString();
}
inline void readValue(const SQLite::Column& column, std::int64_t& number) {
    number = column.getInt64();
}
inline void readValue(const SQLite::Column& column, bool& flag) {
    flag = column.getInt64() != 0;
}
inline void readValue(const SQLite::Column& column, double& number) {
    number = column.getDouble();
}
inline void readValue(const SQLite::Column& column, base::Date& date) {
    date = base::Date(base::Date::duration(column.getInt64()));
}
inline void readValue(const SQLite::Column& column, base::Uuid& id) {
    id = base::Uuid::parse(columnText(column)).value_or(base::Uuid{});
}
inline void readValue(const SQLite::Column& column, EntryCategory& category) {
    category = entryCategory(columnText(column)).value_or(EntryCategory::other);
}
inline void readValue(const SQLite::Column& column, std::optional<std::string>& text) {
    text = column.isNull() ? std::nullopt : std::optional(column.getString());
}

/// Binds all fields in the order of the table's columns, from index 1.
template <class R>
void bindRecord(SQLite::Statement& statement, const R& record) {
    int index = 0;
    std::apply([&](const auto&... column) { (bindValue(statement, ++index, record.*column.field), ...); },
               RecordTable<R>::columns);
}

/// Reads a row with the table's columns in their order.
template <class R>
R readRecord(SQLite::Statement& statement) {
    R record{base::Uuid{}};
    int index = 0;
    std::apply(
        [&](const auto&... column) { (readValue(statement.getColumn(index++), record.*column.field), ...); },
        RecordTable<R>::columns);
    return record;
}

/// Returns the columns of the table as "a, b, c", each formatted by `format`.
template <class R, class Format>
std::string columnList(Format format) {
    std::string list;
    std::apply(
        [&](const auto&... column) {
            const auto add = [&](const auto& one) {
                if (!list.empty())
                    list += ", ";
                list += format(one);
            };
            (add(column), ...);
        },
        RecordTable<R>::columns);
    return list;
}

template <class R>
std::string columnNames() {
    return columnList<R>([](const auto& column) { return std::string(column.name); });
}

} // namespace sonvale::persistence
