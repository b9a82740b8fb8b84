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

/// Son Vale itself, the built program, running in a private desktop as its user would have it.
class RunningProgram {
public:
    struct HistoryRow {
        std::string rawText;
        std::string processedText;
        std::int64_t wordCount = 0;
    };

    struct Options {
        /// Entries of its information dictionary in place of those that it was built with, such as addresses.
        std::map<std::string, std::string> info = {};
        std::map<std::string, std::string> environment = {}; ///< more than the desktop's
        /// A command that is given the program as its last argument and becomes it.
        std::vector<std::string> launcher = {};
    };

    /// Writes the settings file, unless there is one already, and starts the program; `waitUntilItListens()`
    /// comes next.
    explicit RunningProgram(PrivateDesktop& desktop)
        : RunningProgram(desktop, Options{}) {}
    RunningProgram(PrivateDesktop& desktop, const Options& options);

    /// Settings as the program's user would have left them. The place exists then, with nothing else in it.
    static std::filesystem::path writeSettings(const PrivateDesktop& desktop, const std::string& content);

    /// Whether it gets to hear keys.
    bool waitUntilItListens(double seconds = 60);
    bool isRunning() { return process_->isRunning(); }
    pid_t pid() const { return process_->pid(); }

    /// Starts the program once more, which opens the dashboard of the one that runs.
    void reopen() const;

    /// Asks it to end, as the end of a session does; its exit status, absent when it does not end.
    std::optional<int> quit(double seconds = 20);
    /// Ends it as a crash does, without a chance to tidy up.
    void kill();
    /// Suspends the process until `goOn`. What happens meanwhile reaches it then.
    void stop();
    void goOn();
    /// Starts it once more after it has ended; what it wrote before is forgotten.
    void startAgain();

    /// Everything that it wrote to its two output streams so far.
    std::string output() const;
    bool waitForOutput(const std::string& text, double seconds) const;

    /// The "[PERF] " lines that begin with `stage`, without that: "startDictation total: ".
    std::vector<std::string> timings(const std::string& stage) const;
    bool waitForTimings(const std::string& stage, std::size_t count, double seconds) const;

    /// The rows of the history in the order of their making.
    std::vector<HistoryRow> history() const;
    /// The lines of the audit log.
    std::vector<nlohmann::json> audit() const;
    /// How many lines of the audit log are of this event; with `details`, only those that say so.
    std::size_t auditCount(const std::string& eventType, const std::string& details = {}) const;
    /// Recordings that lie anywhere in the user's folders.
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
