#include "tests/support/ChildProcess.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

extern char** environ;

namespace sonvale::tests {

namespace {

std::vector<std::string> environmentFor(const ChildProcess::Options& options) {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        const auto equals = text.find('=');
        variables[text.substr(0, equals)] = text.substr(equals + 1);
    }
    for (const auto& name : options.withoutEnvironment)
        variables.erase(name);
    // The machine's own session is not part of a test, and without an address libraries start a bus that
    // keeps running.
    variables["DBUS_SESSION_BUS_ADDRESS"] = "disabled:";
    for (const auto& [name, value] : options.environment)
        variables[name] = value;
    std::vector<std::string> result;
    for (const auto& [name, value] : variables)
        result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

ChildProcess::ChildProcess(Options options) {
    auto arguments = pointers(options.arguments);
    auto variables = environmentFor(options);
    auto environment = pointers(variables);
    const std::string output = options.outputFile.empty() ? "/dev/null" : options.outputFile;
    const pid_t parent = getpid();

    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("cannot start " + options.arguments.at(0));
    if (pid_ > 0)
        return;

    // A group of its own, so that its own children can be ended with it.
    setpgid(0, 0);
    // A test that is killed must not leave servers running.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(127);
    const int null = open("/dev/null", O_RDONLY);
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    dup2(null, 0);
    dup2(out, 1);
    dup2(out, 2);
    for (const auto& [from, to] : options.descriptors)
        dup2(from, to);
    execvpe(arguments[0], arguments.data(), environment.data());
    _exit(127);
}

ChildProcess::~ChildProcess() {
    end();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, -1))
    , status_(other.status_) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        end();
        pid_ = std::exchange(other.pid_, -1);
        status_ = other.status_;
    }
    return *this;
}

bool ChildProcess::isRunning() {
    return pid_ > 0 && !wait(0);
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0 && !status_)
        kill(pid_, number);
}

std::optional<int> ChildProcess::wait(double seconds) {
    const double end = monotonicSeconds() + seconds;
    while (!status_ && pid_ > 0) {
        int raw = 0;
        if (waitpid(pid_, &raw, WNOHANG) == pid_) {
            status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
            break;
        }
        if (monotonicSeconds() >= end)
            break;
        pauseMilliseconds(2);
    }
    return status_;
}

void ChildProcess::end() {
    if (pid_ <= 0)
        return;
    // If a program ends by itself, the programs that it leaves running (the keeper of a clipboard, for
    // example) are meant to stay.
    if (!status_) {
        signal(SIGTERM);
        if (!wait(2)) {
            signal(SIGKILL);
            wait(5);
        }
        kill(-pid_, SIGKILL);
    }
    pid_ = -1;
}

int run(std::vector<std::string> arguments, std::map<std::string, std::string> environment) {
    ChildProcess::Options options;
    options.arguments = std::move(arguments);
    options.environment = std::move(environment);
    return ChildProcess(std::move(options)).wait(60).value_or(-1);
}

void pauseMilliseconds(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sonvale-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a temporary folder");
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored; // a test may have removed the folder's rights; nothing depends on its removal
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
}

} // namespace sonvale::tests
