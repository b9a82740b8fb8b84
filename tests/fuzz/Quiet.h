#pragma once

#include "base/Log.h"

namespace sonvale::tests {

/// No log lines: a fuzzer would drown in them, and be slow.
inline const bool isQuiet = [] {
    base::setLogSinks({.logger = [](const base::LogLine&) {},
                       .system = [](std::string_view) {},
                       .perf = [](std::string_view) {}});
    return true;
}();

} // namespace sonvale::tests
