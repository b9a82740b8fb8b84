#pragma once

#include "runtime/Task.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::services {

/// Gives the bearer token for the next request; absent or empty when there is none. Called on any actor, by
/// any number of tasks; the task that it returns never throws.
using TokenProvider = std::function<runtime::Task<std::optional<std::string>>()>;

} // namespace sonvale::services
