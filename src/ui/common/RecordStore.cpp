#include "ui/common/RecordStore.h"

#include "base/Log.h"

namespace sonvale::ui {

void RecordStore::commit() {
    auto* store = context();
    if (!store)
        return;
    try {
        store->save();
    } catch (const persistence::StoreError& error) {
        static const base::Logger logger("Dashboard");
        logger.error("changes could not be saved yet: {}", error.what());
    }
}

void RecordStore::eachTranscription(
    const std::function<void(const persistence::TranscriptionFigures&)>& visit) const {
    if (const auto* store = context())
        store->eachTranscription(visit);
}

} // namespace sonvale::ui
