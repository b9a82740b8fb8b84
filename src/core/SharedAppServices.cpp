#include "core/SharedAppServices.h"

namespace sonvale::core {

SharedAppServices::SharedAppServices(const Environment& environment)
    : appState_(AppState::make(environment))
    , modelContainer_(persistence::ModelContainer::open(environment.directories.applicationSupport)) {}

} // namespace sonvale::core
