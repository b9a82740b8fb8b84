#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A program that a test has started. The destructor ends it and waits for it.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments; ///< the first is the program, which is searched in PATH
        /// Added to the test's own variables. A D-Bus session must be named here.
        std::map<std::string, std::string> environment; ///< added to the test's own variables
        std::vector<std::string> withoutEnvironment;    ///< removed from it
        std::string outputFile; ///< receives both output streams; they are dropped if it is empty
        std::vector<std::pair<int, int>>
            descriptors; ///< the test's descriptors, and their numbers in the child
    };

    explicit ChildProcess(Options options);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    pid_t pid() const { return pid_; }
    bool isRunning();
    void signal(int number) const;
    /// Returns the exit status, or 128 plus the signal's number, or nullopt if it still runs after `seconds`.
    std::optional<int> wait(double seconds);
    /// Ends it: SIGTERM, after 2 s SIGKILL.
    void end();

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

/// Runs a program to its end and returns its exit status.
int run(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {});

/// Checks every few milliseconds, for up to `seconds`, until `condition` holds. Returns whether it does.
template <class Condition>
bool eventually(double seconds, Condition condition);

void pauseMilliseconds(int milliseconds);
double monotonicSeconds();

template <class Condition>
bool eventually(double seconds, Condition condition) {
    const double end = monotonicSeconds() + seconds;
    while (!condition()) {
        if (monotonicSeconds() > end)
            return condition();
        pauseMilliseconds(5);
    }
    return true;
}

/// A private folder of a test, 0700, which the destructor removes.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

} // namespace sonvale::tests
