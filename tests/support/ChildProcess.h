#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A program that a test started. It is ended, and waited for, when the object goes.
class ChildProcess {
public:
    struct Options {
        std::vector<std::string> arguments; ///< the first is the program, looked up in PATH
        /// Added to the test's own; a D-Bus session is only what is named here.
        std::map<std::string, std::string> environment; ///< added to the test's own
        std::vector<std::string> withoutEnvironment;    ///< taken out of it
        std::string outputFile; ///< receives both output streams; empty: they are dropped
        std::vector<std::pair<int, int>> descriptors; ///< of the test, and as which number the child has them
    };

    explicit ChildProcess(Options options);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    pid_t pid() const { return pid_; }
    bool isRunning();
    void signal(int number) const;
    /// Exit status, or 128 and the signal's number; absent when it still runs after `seconds`.
    std::optional<int> wait(double seconds);
    /// Ends it: SIGTERM, after 2 s SIGKILL.
    void end();

private:
    pid_t pid_ = -1;
    std::optional<int> status_;
};

/// Runs a program to its end and returns its exit status.
int run(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {});

/// Looks every few milliseconds, at most `seconds`, until `condition` holds; returns whether it does.
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

/// A folder of a test's own, 0700, gone with the object.
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
