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

/// An order by one field. Absent values come first, false before true, texts by their bytes.
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

/// A field against a value; the store looks only at the rows that it holds for. For numbers, dates, flags and
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

/// A rule for one text of a record. Of a row that it does not hold for, nothing else is read.
template <class R>
struct TextCondition {
    std::string R::* field;
    std::function<bool(const std::string&)> holds;
};

/// Which records to fetch and in which order.
template <class R>
struct FetchDescriptor {
    std::vector<FieldCondition<R>> where{};    ///< all must hold
    std::optional<TextCondition<R>> text{};    ///< further rule for one text
    std::function<bool(const R&)> predicate{}; ///< any further rule; empty: every record
    std::vector<SortDescriptor<R>> sortBy{};   ///< the first decides first, the order of insertion last
    std::optional<std::size_t> limit{};        ///< at most so many
    std::size_t offset = 0;                    ///< so many are passed over at the start
};

} // namespace sonvale::persistence
