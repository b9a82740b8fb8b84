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

/// The records as the program sees them: what is stored and, over it, what was changed and not yet saved.
///
/// `R` is `Transcription`, `AppSettings`, `Snippet`, `DictionaryEntry` or `WritingStyle`; a record is known
/// by its `id`. Main thread only.
class ModelContext {
public:
    explicit ModelContext(std::unique_ptr<Store> store);
    ~ModelContext();
    ModelContext(const ModelContext&) = delete;
    ModelContext& operator=(const ModelContext&) = delete;

    /// Stages a new record. A known `id` takes the record's fields instead, in its old place.
    template <class R>
    void insert(R record);

    /// Stages the fields of the record with that `id`. An `id` that is neither stored nor inserted changes
    /// nothing.
    template <class R>
    void update(R record);

    /// Stages the removal of the record with that `id`.
    template <class R>
    void remove(const R& record);

    /// Commits everything staged, all or nothing; an end of the process after that does not undo it. On
    /// failure throws `StoreError` and all of it stays staged, so that the next successful save carries it.
    void save();

    /// The records that match, staged changes included. Throws `StoreError`.
    template <class R>
    std::vector<R> fetch(const FetchDescriptor<R>& descriptor = {}) const;

    /// How many records match, by the conditions and the rules of the descriptor alone. Throws `StoreError`.
    template <class R>
    std::size_t fetchCount(const FetchDescriptor<R>& descriptor = {}) const;

    /// Visits the figures of the whole history, newest first, without reading its texts. Throws `StoreError`.
    void eachTranscription(const std::function<void(const TranscriptionFigures&)>& visit) const;

    /// `observer` is called, inside the changing call, after each staged change of a record of the type,
    /// until the subscription ends. It must not read the changed records there: they are soon saved, and
    /// cheap to read then.
    template <class R>
    [[nodiscard]] base::Subscription onChange(std::function<void()> observer);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::persistence
