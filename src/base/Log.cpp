#include "base/Log.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace sonvale::base {

namespace {

std::mutex sinksMutex;
LogSinks installedSinks;

LogSinks currentSinks() {
    const std::lock_guard lock(sinksMutex);
    return installedSinks;
}

std::string_view name(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return "debug";
    case LogLevel::info:
        return "info";
    case LogLevel::error:
        return "error";
    case LogLevel::fault:
        return "fault";
    }
    return "info";
}

void writeLine(std::FILE* stream, std::string line) {
    line += '\n';
    // One call writes the whole line, so that lines of several threads do not mix. Ignores a closed stream.
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fflush(stream);
}

} // namespace

Logger::Logger(std::string category, std::string subsystem)
    : category_(std::move(category))
    , subsystem_(std::move(subsystem)) {}

void Logger::write(LogLevel level, std::string text) const {
    const LogLine line{level, subsystem_, category_, std::move(text)};
    if (const auto sinks = currentSinks(); sinks.logger) {
        sinks.logger(line);
        return;
    }
    static const bool debugWanted = std::getenv("SONVALE_LOG_DEBUG") != nullptr;
    if (level == LogLevel::debug && !debugWanted)
        return;
    writeLine(stderr, fmt::format("{} {} [{}] {}", name(level), line.subsystem, line.category, line.text));
}

void systemLog(std::string_view line) {
    if (const auto sinks = currentSinks(); sinks.system) {
        sinks.system(line);
        return;
    }
    writeLine(stderr, std::string(line));
}

void perfLog(std::string_view line) {
    auto text = fmt::format("[PERF] {}", line);
    if (const auto sinks = currentSinks(); sinks.perf) {
        sinks.perf(text);
        return;
    }
    writeLine(stdout, std::move(text));
}

LogSinks setLogSinks(LogSinks sinks) {
    const std::lock_guard lock(sinksMutex);
    return std::exchange(installedSinks, std::move(sinks));
}

} // namespace sonvale::base
