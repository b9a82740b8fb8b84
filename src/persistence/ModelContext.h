#pragma once

#include "base/Observed.h"
#include "persistence/FetchDescriptor.h"
#include "persistence/Records.h"
#include "persistence/StoreError.h"

#include <functional>
#include <memory>
#include <vector>

namespace sonvale::persistence {

class Store;

/// The records of the program: the stored records with the changes that are not saved yet.
///
/// `R` is `Transcription`, `AppSettings`, `Snippet`, `DictionaryEntry` or `WritingStyle`. A record is
/// identified by its `id`. Main thread only.
class ModelContext {
public:
    explicit ModelContext(std::unique_ptr<Store> store);
    ~ModelContext();
    ModelContext(const ModelContext&) = delete;
    ModelContext& operator=(const ModelContext&) = delete;

    /// Stages a new record. If the `id` is known, that record gets the new fields and keeps its place.
    template <class R>
    void insert(R record);

    /// Stages the fields of the record with that `id`. Does nothing if the `id` is neither stored nor
    /// inserted.
    template <class R>
    void update(R record);

    /// Stages the removal of the record with that `id`.
    template <class R>
    void remove(const R& record);

    /// Commits everything staged, or nothing. A later end of the process does not undo it. On failure throws
    /// `StoreError`; everything stays staged, and the next successful save commits it.
    void save();

    /// Returns the matching records, staged changes included. Throws `StoreError`.
    template <class R>
    std::vector<R> fetch(const FetchDescriptor<R>& descriptor = {}) const;

    /// Returns the number of matching records, by the conditions and the rules of the descriptor only. Throws
    /// `StoreError`.
    template <class R>
    std::size_t fetchCount(const FetchDescriptor<R>& descriptor = {}) const;

    /// Visits the figures of the whole history, newest first, without reading its texts. Throws `StoreError`.
    void eachTranscription(const std::function<void(const TranscriptionFigures&)>& visit) const;

    /// Calls `observer` after each staged change of a record of the type, inside the changing call, until the
    /// subscription ends. `observer` must not read the changed records; after the save, which follows soon,
    /// reading is cheap.
    template <class R>
    [[nodiscard]] base::Subscription onChange(std::function<void()> observer);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::persistence
