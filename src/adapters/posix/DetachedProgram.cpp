#include "adapters/posix/DetachedProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

extern char** environ;

namespace sonvale::adapters::posix {

namespace {

constexpr int startMilliseconds = 1000;
constexpr int firstFreeDescriptor = 3;

/// Blocks all signals in a scope: no handler of this process may run in the copy that is about to become
/// another program.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t former_;
};

void resetSignals() {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        sigaction(number, &standard, nullptr); // refused for a few signals, which cannot have been changed
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void reportError(int report, int error) {
    // Nothing reads it after the caller has stopped waiting.
    [[maybe_unused]] const auto written = write(report, &error, sizeof error);
}

/// Runs in the copy of this process. Only what a signal handler may call is safe there: other threads may
/// have held any lock at the moment of the fork.
[[noreturn]] void become(const char* file, char* const* arguments, int report) {
    setsid();
    // The second copy has no parent that must wait for it.
    if (const pid_t copy = fork(); copy != 0) {
        if (copy < 0)
            reportError(report, errno);
        _exit(0);
    }

    resetSignals();
    int highReport = fcntl(report, F_DUPFD_CLOEXEC, firstFreeDescriptor);
    const int null = open("/dev/null", O_RDWR);
    for (int standard = 0; standard < firstFreeDescriptor; ++standard)
        dup2(null, standard);
    if (highReport != firstFreeDescriptor)
        highReport = dup3(highReport, firstFreeDescriptor, O_CLOEXEC);
    closefrom(firstFreeDescriptor + 1);

    execve(file, arguments, environ);
    reportError(highReport, errno);
    _exit(127);
}

/// Returns whether the other end was closed by a successful start, without an error written to it.
bool isStarted(int report) {
    pollfd waiting{report, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, startMilliseconds);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0)
        return true; // the disk is slow; nothing says that the start fails
    int error = 0;
    return read(report, &error, sizeof error) == 0;
}

} // namespace

std::optional<std::string> findProgram(std::string_view name, std::string_view path) {
    while (!path.empty()) {
        const auto folder = path.substr(0, path.find(':'));
        path.remove_prefix(std::min(folder.size() + 1, path.size()));
        if (!folder.starts_with('/'))
            continue;
        auto file = std::string(folder) + "/" + std::string(name);
        struct stat found = {};
        if (stat(file.c_str(), &found) == 0 && S_ISREG(found.st_mode) && access(file.c_str(), X_OK) == 0)
            return file;
    }
    return std::nullopt;
}

bool startDetached(const std::string& file, const std::vector<std::string>& arguments) {
    std::vector<std::string> texts{file};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (auto& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);

    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0)
        return false;
    pid_t copy = -1;
    {
        const AllSignalsBlocked blocked;
        copy = fork();
        if (copy == 0)
            become(file.c_str(), pointers.data(), report[1]);
    }
    close(report[1]);
    // If the process ignores SIGCHLD, there is nothing to wait for.
    while (copy > 0 && waitpid(copy, nullptr, 0) < 0 && errno == EINTR) {
    }
    const bool isRunning = copy > 0 && isStarted(report[0]);
    close(report[0]);
    return isRunning;
}

} // namespace sonvale::adapters::posix
