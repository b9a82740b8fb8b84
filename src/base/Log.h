#pragma once

#include <fmt/format.h>

#include <functional>
#include <string>
#include <string_view>

namespace sonvale::base {

enum class LogLevel { debug, info, error, fault };

/// One line of a log as it goes out.
struct LogLine {
    LogLevel level = LogLevel::info;
    std::string subsystem;
    std::string category;
    std::string text;
};

/// Text that must not be readable in a log: it is written as "<private>" whatever it holds.
struct PrivateText {
    std::string_view value;
};

/// The platform logger: one object for each class that logs, under the system's subsystem.
///
/// Safe from any thread. Lines go to standard error as "LEVEL subsystem [category] text"; `debug` lines only
/// when SONVALE_LOG_DEBUG is set in the environment. Never hand it spoken or written text.
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

/// A plain line of the system log, beginning with its own "[AppState]" or "[AppDelegate]". Any thread.
void systemLog(std::string_view line);

/// A timing line on standard output, written as "[PERF] " and `line`. Any thread.
void perfLog(std::string_view line);

/// Where the three kinds of lines go instead, for tests; each is called on the thread that logs.
struct LogSinks {
    std::function<void(const LogLine&)> logger;
    std::function<void(std::string_view)> system;
    std::function<void(std::string_view)> perf; ///< given the line with its "[PERF] "
};

/// Replaces the sinks; an absent one means the standard stream. Returns the former ones.
LogSinks setLogSinks(LogSinks sinks);

} // namespace sonvale::base

template <>
struct fmt::formatter<sonvale::base::PrivateText> : fmt::formatter<std::string_view> {
    auto format(sonvale::base::PrivateText, fmt::format_context& context) const {
        return fmt::formatter<std::string_view>::format("<private>", context);
    }
};
