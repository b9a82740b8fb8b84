#pragma once

#include "persistence/ModelContext.h"

namespace sonvale::ui {

/// Commits what was changed on the records. A failure is nothing for the user to act on: the changes count
/// all the same, and go with the next commit that succeeds. Without a store nothing. Main actor.
void commitChanges(persistence::ModelContext* store);

} // namespace sonvale::ui
