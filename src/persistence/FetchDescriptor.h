#pragma once

#include "persistence/RecordTable.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace sonvale::persistence {

enum class SortOrder { forward, reverse };

/// An order by one field. Absent values come first, false comes before true, and texts are compared by bytes.
template <class R>
struct SortDescriptor {
    template <class M>
    SortDescriptor(M R::* field, SortOrder sortOrder)
        : column(columnName(field))
        , order(sortOrder)
        , isLess([field](const R& a, const R& b) { return a.*field < b.*field; }) {}

    std::string_view column;
    SortOrder order;
    std::function<bool(const R&, const R&)> isLess;
};

enum class Comparison { equal, less, greaterOrEqual };

/// A comparison of a field with a value. The store reads only rows that match. For numbers, dates, flags and
/// texts.
template <class R>
struct FieldCondition {
    using Value = std::variant<std::int64_t, std::string>;

    template <class M>
    FieldCondition(M R::* field, Comparison how, const std::type_identity_t<M>& wanted)
        : column(columnName(field))
        , comparison(how)
        , value(valueOf(wanted))
        , holds([field, how, wanted](const R& record) {
            switch (how) {
            case Comparison::equal:
                return record.*field == wanted;
            case Comparison::less:
                return record.*field < wanted;
            case Comparison::greaterOrEqual:
                return !(record.*field < wanted);
            }
            return false;
        }) {}

    std::string_view column;
    Comparison comparison;
    Value value;
    std::function<bool(const R&)> holds;

private:
    static Value valueOf(const std::string& text) { return text; }
    static Value valueOf(std::int64_t number) { return number; }
    static Value valueOf(bool flag) { return std::int64_t{flag}; }
    static Value valueOf(base::Date date) { return std::int64_t{date.time_since_epoch().count()}; }
    static Value valueOf(const base::Uuid& id) { return id.toString(); }
};

/// A condition for one text of a record. The store reads nothing else of a row that does not match.
template <class R>
struct TextCondition {
    std::string R::* field;
    std::function<bool(const std::string&)> holds;
};

/// The records to fetch and their order.
template <class R>
struct FetchDescriptor {
    std::vector<FieldCondition<R>> where{};    ///< all must match
    std::optional<TextCondition<R>> text{};    ///< a further condition for one text
    std::function<bool(const R&)> predicate{}; ///< a further condition; empty: every record
    std::vector<SortDescriptor<R>> sortBy{};   ///< the first has priority; then the order of insertion
    std::optional<std::size_t> limit{};        ///< the maximum number of records
    std::size_t offset = 0;                    ///< the number of records to skip at the start
};

} // namespace sonvale::persistence
