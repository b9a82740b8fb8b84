#pragma once

#include "base/Log.h"

/// No log lines: a fuzzer would drown in them, and be slow. libFuzzer calls this once before the first input,
/// when every object of the program is made.
extern "C" __attribute__((used)) inline int LLVMFuzzerInitialize(int* /*argumentCount*/,
                                                                 char*** /*arguments*/) {
    sonvale::base::setLogSinks({.logger = [](const sonvale::base::LogLine&) {},
                                .system = [](std::string_view) {},
                                .perf = [](std::string_view) {}});
    return 0;
}
