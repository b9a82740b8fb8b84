#include "tests/server/ServerTranscriber.h"
#include "tests/support/Accounts.h"
#include "tests/support/RuleBasedChat.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/TestServer.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

constexpr const char* accountPassword = "sonvale-test";

constexpr const char* usage =
    "sonvale-test-server [--port N] [--tls] [--transcribe] [--text TEXT] [--account EMAIL]... "
    "[--token-seconds N]\n"
    "\n"
    "Plays the outside service and the backend on 127.0.0.1: prints one line of JSON with its addresses and\n"
    "serves until SIGTERM, SIGINT or the end of its input.\n"
    "\n"
    "The chat is a rule-based stand-in and no language model: it takes fillers and stutters out of a "
    "dictation,\n"
    "and gives it a capital first letter and a final period. The support chat answers by the first word that "
    "it\n"
    "knows.\n"
    "\n"
    "--port N           the port (default: any free one)\n"
    "--tls              https and wss; the line names the file of the authority, for SSL_CERT_FILE\n"
    "--transcribe       transcribes what it hears (English)\n"
    "--text TEXT        transcribes everything as this text\n"
    "--account EMAIL    lets only those in who sign in, as EMAIL or with an account that they sign up for;\n"
    "                   the password is \"sonvale-test\"\n"
    "--token-seconds N  how long their access tokens last (default: 3600)\n"
    "--help             prints this\n";

struct Arguments {
    TestServer::Options server;
    bool transcribes = false;
    bool isHelp = false;
    std::string text = "Hello from the test server.";
    std::vector<std::string> accounts;
    std::optional<long> tokenSeconds;
};

std::optional<long> number(const std::string& word, long largest) {
    char* end = nullptr;
    const auto value = std::strtol(word.c_str(), &end, 10);
    return word.empty() || *end != '\0' || value < 0 || value > largest ? std::nullopt : std::optional(value);
}

/// False for an option or a value that is not understood.
bool takeOption(Arguments& arguments, const std::string& option, const std::string& value) {
    if (option == "--text") {
        arguments.text = value;
        return true;
    }
    if (option == "--account") {
        arguments.accounts.push_back(value);
        return true;
    }
    if (option == "--token-seconds") {
        arguments.tokenSeconds = number(value, 1'000'000'000);
        return arguments.tokenSeconds.has_value();
    }
    const auto port = option == "--port" ? number(value, 65535) : std::nullopt;
    arguments.server.port = static_cast<int>(port.value_or(0));
    return port.has_value();
}

/// Nothing for arguments that are not understood.
std::optional<Arguments> parse(const std::vector<std::string>& words) {
    Arguments result;
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (*word == "--tls") {
            result.server.isTls = true;
        } else if (*word == "--transcribe") {
            result.transcribes = true;
        } else if (*word == "--help") {
            result.isHelp = true;
        } else {
            const auto option = word++;
            if (word == words.end() || !takeOption(result, *option, *word))
                return std::nullopt;
        }
    }
    // Tokens are for accounts.
    return result.tokenSeconds && result.accounts.empty() ? std::nullopt : std::optional(result);
}

/// Returns at SIGTERM, SIGINT or the end of the input. They must be blocked in every thread.
void waitForEnd(const sigset_t& signals) {
    const int signalled = ::signalfd(-1, &signals, SFD_CLOEXEC);
    std::array<pollfd, 2> ready{{{.fd = signalled, .events = POLLIN, .revents = 0},
                                 {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0}}};
    for (;;) {
        if (::poll(ready.data(), ready.size(), -1) < 0 || ready[0].revents != 0)
            break;
        std::array<char, 256> dropped{};
        if (ready[1].revents != 0 && ::read(STDIN_FILENO, dropped.data(), dropped.size()) <= 0)
            break;
    }
    ::close(signalled);
}

int serve(const Arguments& arguments) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);

    TestServer server(arguments.server);
    std::optional<ServerTranscriber> transcriber;
    if (arguments.transcribes)
        serveEverything(server, transcriber.emplace().listening());
    else
        serveEverything(server, arguments.text);
    serveChatByRules(server);

    base::Json line{
        {"port", server.port()}, {"url", server.url()}, {"realtime", server.socketUrl("/v1/realtime")}};
    if (arguments.server.isTls)
        line["caFile"] = server.caFile().string();
    if (!arguments.accounts.empty()) {
        Accounts accounts(server);
        for (const auto& email : arguments.accounts)
            accounts.add(email, accountPassword);
        if (arguments.tokenSeconds)
            accounts.setTokenSeconds(static_cast<double>(*arguments.tokenSeconds));
        line["accounts"] = arguments.accounts;
        line["password"] = accountPassword;
    }
    std::puts(base::jsonText(line).c_str());
    std::fflush(stdout);
    waitForEnd(signals);
    return EXIT_SUCCESS;
}

} // namespace

} // namespace sonvale::tests

int main(int count, char** words) {
    const auto arguments = sonvale::tests::parse({words + 1, words + count});
    if (!arguments) {
        std::fputs(sonvale::tests::usage, stderr);
        return EXIT_FAILURE;
    }
    if (arguments->isHelp) {
        std::fputs(sonvale::tests::usage, stdout);
        return EXIT_SUCCESS;
    }
    try {
        return sonvale::tests::serve(*arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
