#pragma once

#include "core/AppState.h"
#include "persistence/ModelContext.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace sonvale::ui {

/// The records as models use them. Until the store is open it is empty, and ignores changes. Cheap to copy.
/// Main actor.
class RecordStore {
public:
    explicit RecordStore(std::shared_ptr<core::AppState> appState)
        : appState_(std::move(appState)) {}

    /// Returns whether changes are kept.
    bool isOpen() const { return context() != nullptr; }

    template <class R>
    void insert(R record) {
        if (auto* store = context())
            store->insert(std::move(record));
    }
    template <class R>
    void update(R record) {
        if (auto* store = context())
            store->update(std::move(record));
    }
    template <class R>
    void remove(const R& record) {
        if (auto* store = context())
            store->remove(record);
    }

    /// Commits the changes. A failure is logged only: the changes take effect, and the next commit that
    /// succeeds saves them.
    void commit();

    /// Returns the matching records. Throws `StoreError`.
    template <class R>
    std::vector<R> fetch(const persistence::FetchDescriptor<R>& descriptor = {}) const {
        const auto* store = context();
        return store ? store->fetch(descriptor) : std::vector<R>();
    }
    /// Returns the number of all records of the type. Throws `StoreError`.
    template <class R>
    std::size_t count() const {
        const auto* store = context();
        return store ? store->template fetchCount<R>() : 0;
    }
    /// Visits the figures of the history, newest first. Throws `StoreError`.
    void eachTranscription(const std::function<void(const persistence::TranscriptionFigures&)>& visit) const;

    /// Calls `observer` inside each change of a record of the type, until the subscription ends.
    template <class R>
    [[nodiscard]] base::Subscription onChange(std::function<void()> observer) {
        auto* store = context();
        return store ? store->template onChange<R>(std::move(observer)) : base::Subscription();
    }

private:
    persistence::ModelContext* context() const { return appState_->modelContext; }

    std::shared_ptr<core::AppState> appState_;
};

} // namespace sonvale::ui
