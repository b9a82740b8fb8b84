#pragma once

#include "base/Uuid.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace sonvale::persistence {

/// The changes of the records of one type that are not saved yet. An identifier is in at most one of the
/// three members.
template <class R>
class StagedChanges {
public:
    bool isEmpty() const { return inserted_.empty() && updated_.empty() && removed_.empty(); }

    void insert(R record) {
        removed_.erase(record.id);
        updated_.erase(record.id);
        if (auto* earlier = findInserted(record.id))
            *earlier = std::move(record);
        else
            inserted_.push_back(std::move(record));
    }

    void update(R record) {
        if (auto* earlier = findInserted(record.id))
            *earlier = std::move(record);
        else if (!removed_.contains(record.id))
            updated_.insert_or_assign(record.id, std::move(record));
    }

    void remove(const base::Uuid& id) {
        std::erase_if(inserted_, [&](const R& record) { return record.id == id; });
        updated_.erase(id);
        removed_.insert(id);
    }

    void clear() { *this = {}; }

    const std::vector<R>& inserted() const { return inserted_; }
    const std::map<base::Uuid, R>& updated() const { return updated_; }
    const std::set<base::Uuid>& removed() const { return removed_; }

    /// Applies the changes to the stored records, which are in order of insertion.
    std::vector<R> applied(std::vector<R> stored) const {
        std::erase_if(stored, [&](const R& record) { return removed_.contains(record.id); });
        std::set<base::Uuid> known;
        for (auto& record : stored) {
            known.insert(record.id);
            if (const auto found = updated_.find(record.id); found != updated_.end())
                record = found->second;
        }
        for (const auto& record : inserted_) {
            if (!known.contains(record.id)) {
                stored.push_back(record);
                continue;
            }
            *std::ranges::find(stored, record.id, &R::id) = record;
        }
        return stored;
    }

private:
    R* findInserted(const base::Uuid& id) {
        const auto found = std::ranges::find(inserted_, id, &R::id);
        return found == inserted_.end() ? nullptr : &*found;
    }

    std::vector<R> inserted_; ///< in order of insertion
    std::map<base::Uuid, R> updated_;
    std::set<base::Uuid> removed_;
};

} // namespace sonvale::persistence
