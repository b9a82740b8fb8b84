#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <string_view>

namespace sonvale::base {

enum class LogLevel { debug, info, error, fault };

/// One line of the log.
struct LogLine {
    LogLevel level = LogLevel::info;
    std::string subsystem;
    std::string category;
    std::string text;
};

/// Text that must not be readable in a log. It is always written as "<private>".
struct PrivateText {
    std::string_view value;
};

/// Writes log lines of one class under the system's subsystem. Each class that logs has its own object.
///
/// Safe from any thread. Lines go to standard error as "LEVEL subsystem [category] text". `debug` lines are
/// written only if SONVALE_LOG_DEBUG is set in the environment. Never pass spoken or written text.
class Logger {
public:
    explicit Logger(std::string category, std::string subsystem = "com.sonvale");

    template <class... Args>
    void debug(fmt::format_string<Args...> format, Args&&... args) const {
        write(LogLevel::debug, fmt::format(format, std::forward<Args>(args)...));
    }
    template <class... Args>
    void info(fmt::format_string<Args...> format, Args&&... args) const {
        write(LogLevel::info, fmt::format(format, std::forward<Args>(args)...));
    }
    template <class... Args>
    void error(fmt::format_string<Args...> format, Args&&... args) const {
        write(LogLevel::error, fmt::format(format, std::forward<Args>(args)...));
    }
    template <class... Args>
    void fault(fmt::format_string<Args...> format, Args&&... args) const {
        write(LogLevel::fault, fmt::format(format, std::forward<Args>(args)...));
    }

private:
    void write(LogLevel level, std::string text) const;

    std::string category_;
    std::string subsystem_;
};

/// Writes a plain line to the system log. The line begins with its own "[AppState]" or "[AppDelegate]". Any
/// thread.
void systemLog(std::string_view line);

/// Writes "[PERF] " and `line` to standard output. Any thread.
void perfLog(std::string_view line);

/// Receivers of the three kinds of lines, for tests. Each is called on the thread that logs.
struct LogSinks {
    std::function<void(const LogLine&)> logger;
    std::function<void(std::string_view)> system;
    std::function<void(std::string_view)> perf; ///< receives the line with its "[PERF] "
};

/// Replaces the sinks; an empty one means the standard stream. Returns the previous sinks.
LogSinks setLogSinks(LogSinks sinks);

} // namespace sonvale::base

template <>
struct fmt::formatter<sonvale::base::PrivateText> : fmt::formatter<std::string_view> {
    auto format(sonvale::base::PrivateText, fmt::format_context& context) const {
        return fmt::formatter<std::string_view>::format("<private>", context);
    }
};
