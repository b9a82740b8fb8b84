#pragma once

#include "runtime/Task.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::services {

/// Returns the bearer token for the next request; nullopt or empty if there is none. Called on any actor by
/// any number of tasks; its task never throws.
using TokenProvider = std::function<runtime::Task<std::optional<std::string>>()>;

} // namespace sonvale::services
