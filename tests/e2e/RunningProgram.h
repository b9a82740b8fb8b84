#pragma once

#include "tests/support/PrivateDesktop.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

/// The built program, running in a private desktop as it does for its user.
class RunningProgram {
public:
    struct HistoryRow {
        std::string rawText;
        std::string processedText;
        std::int64_t wordCount = 0;
    };

    struct Options {
        /// Entries that replace the built ones in its information dictionary, such as addresses.
        std::map<std::string, std::string> info = {};
        /// Whether the module of the windows is missing. Needs `info`, for which the program is copied.
        bool isWithoutViews = false;
        /// Whether the module of FFmpeg is missing. Needs `info` too.
        bool isWithoutFfmpeg = false;
        std::map<std::string, std::string> environment = {}; ///< variables besides the desktop's
        /// A command that gets the program as its last argument and executes it.
        std::vector<std::string> launcher = {};
    };

    /// Writes the settings file, unless there is one already, and starts the program. The caller then calls
    /// `waitUntilItListens()`.
    explicit RunningProgram(PrivateDesktop& desktop)
        : RunningProgram(desktop, Options{}) {}
    RunningProgram(PrivateDesktop& desktop, const Options& options);

    /// Writes the settings file, as an earlier run of the program would have. Creates its folder.
    static std::filesystem::path writeSettings(const PrivateDesktop& desktop, const std::string& content);

    /// Waits until the program listens to keys. Returns whether it does.
    bool waitUntilItListens(double seconds = 60);
    bool isRunning() { return process_->isRunning(); }
    pid_t pid() const { return process_->pid(); }

    /// Starts the program a second time, which opens the dashboard of the running instance.
    void reopen() const;

    /// Asks it to end, as the end of a session does. Returns its exit status, or nullopt if it does not end.
    std::optional<int> quit(double seconds = 20);
    /// Ends it as a crash does, without a clean-up.
    void kill();
    /// Suspends the process until `resume`. The process receives the events of the meantime afterwards.
    void stop();
    void resume();
    /// Starts it again after it has ended. Drops the earlier output.
    void restart();

    /// Returns all text that it has written to its two output streams.
    std::string output() const;
    bool waitForOutput(const std::string& text, double seconds) const;

    /// Returns the "[PERF] " lines that begin with `stage`, such as "startDictation total: ", without it.
    std::vector<std::string> timings(const std::string& stage) const;
    bool waitForTimings(const std::string& stage, std::size_t count, double seconds) const;

    /// Returns the rows of the history in the order of their creation.
    std::vector<HistoryRow> history() const;
    /// Returns the lines of the audit log.
    std::vector<nlohmann::json> audit() const;
    /// Returns the number of lines of this event in the audit log. If `details` is not empty, counts only the
    /// lines with these details.
    std::size_t auditCount(const std::string& eventType, const std::string& details = {}) const;
    /// Returns whether it has mapped a library whose path contains `name`.
    bool hasMapped(const std::string& name) const;
    /// Returns all recordings in the user's folders.
    std::vector<std::filesystem::path> recordings() const;

    std::filesystem::path storeFile() const { return desktop_.data() / "Sonvale" / "Sonvale.store"; }

private:
    void launch();

    PrivateDesktop& desktop_;
    const Options options_;
    std::filesystem::path log_;
    std::filesystem::path executable_;
    std::optional<ChildProcess> process_;
};

} // namespace sonvale::tests
