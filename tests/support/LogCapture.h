#pragma once

#include "base/Log.h"

#include <mutex>
#include <string>
#include <vector>

namespace sonvale::tests {

/// Captures all log lines in a scope. One at a time.
class LogCapture {
public:
    LogCapture()
        : former_(base::setLogSinks({
              .logger =
                  [this](const base::LogLine& line) {
                      const std::lock_guard lock(mutex_);
                      lines_.push_back(line);
                  },
              .system =
                  [this](std::string_view line) {
                      const std::lock_guard lock(mutex_);
                      system_.emplace_back(line);
                  },
              .perf =
                  [this](std::string_view line) {
                      const std::lock_guard lock(mutex_);
                      perf_.emplace_back(line);
                  },
          })) {}
    ~LogCapture() { base::setLogSinks(std::move(former_)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Returns the lines of the platform logger so far.
    std::vector<base::LogLine> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }
    std::vector<std::string> system() const {
        const std::lock_guard lock(mutex_);
        return system_;
    }
    std::vector<std::string> perf() const {
        const std::lock_guard lock(mutex_);
        return perf_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<base::LogLine> lines_;
    std::vector<std::string> system_;
    std::vector<std::string> perf_;
    base::LogSinks former_;
};

} // namespace sonvale::tests
