#pragma once

#include "base/Log.h"

/// Drops log lines, which would make a fuzzer slow and its output unreadable. libFuzzer calls this once
/// before the first input, when all objects of the program exist.
extern "C" __attribute__((used)) inline int LLVMFuzzerInitialize(int* /*argumentCount*/,
                                                                 char*** /*arguments*/) {
    sonvale::base::setLogSinks({.logger = [](const sonvale::base::LogLine&) {},
                                .system = [](std::string_view) {},
                                .perf = [](std::string_view) {}});
    return 0;
}
