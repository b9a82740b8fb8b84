#pragma once

#include "core/AppState.h"
#include "persistence/ModelContainer.h"

#include <memory>

namespace sonvale::core {

/// Owns the controller and the store for the whole run of the program. Created once by the composition root,
/// on the main actor.
class SharedAppServices {
public:
    /// Builds the controller first, then opens the store. Ends the process if not even a store in memory can
    /// be opened.
    explicit SharedAppServices(const Environment& environment);

    const std::shared_ptr<AppState>& appState() const { return appState_; }
    persistence::ModelContainer& modelContainer() const { return *modelContainer_; }

private:
    std::shared_ptr<AppState> appState_;
    std::unique_ptr<persistence::ModelContainer> modelContainer_;
};

} // namespace sonvale::core
