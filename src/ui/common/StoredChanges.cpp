#include "ui/common/StoredChanges.h"

#include "base/Log.h"

namespace sonvale::ui {

void commitChanges(persistence::ModelContext* store) {
    if (!store)
        return;
    try {
        store->save();
    } catch (const persistence::StoreError& error) {
        static const base::Logger logger("Dashboard");
        logger.error("changes could not be saved yet: {}", error.what());
    }
}

} // namespace sonvale::ui
