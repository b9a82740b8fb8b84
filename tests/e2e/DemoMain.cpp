#include "tests/e2e/Session.h"
#include "tests/server/ServerTranscriber.h"
#include "tests/support/RuleBasedChat.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/TestServer.h"
#include "tests/support/Voices.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <string_view>

namespace {

using namespace sonvale::tests;

/// A test service on this machine, and a program that is built for it. The chat cleans texts by rules instead
/// of a language model.
struct Service {
    Service() {
        serveEverything(server, transcriber.listening());
        options.program.info = {{"OPENAI_API_KEY", "sk-of-this-demonstration"},
                                {"OPENAI_BASE_URL", server.url()},
                                {"CFBundleShortVersionString", "1.0"}};
        options.prepare = [](PrivateDesktop& desktop) {
            RunningProgram::writeSettings(
                desktop, R"({"isOnboardingComplete": true, "transcriptionEngine": "streaming"})");
        };
    }

    /// Returns the last transcript that it sent to the program. Empty if there is none.
    std::string transcript() const {
        std::string last;
        for (const auto& socket : server.sockets())
            for (const auto& frame : socket.sent)
                if (const auto event = sonvale::base::parseJson(frame.bytes))
                    last = sonvale::base::jsonString(*event, "transcript").value_or(last);
        return last;
    }
    std::size_t audioBytes() const {
        std::size_t bytes = 0;
        for (const auto& socket : server.sockets())
            bytes += socket.audio().size();
        return bytes;
    }
    std::size_t cleanUps() const { return server.requests("/v1/chat/completions").size(); }

    ServerTranscriber transcriber;
    TestServer server;
    Session::Options options;
};

/// Dictates a sentence into a real editor, and takes a picture of the screen while the program listens. If
/// `streams`, uses a service that also cleans the text, otherwise the local recognizer.
bool showDictation(const std::filesystem::path& folder, bool streams) {
    // The sentence for the service contains a filler and a stutter, which the clean-up removes.
    const auto& voice = streams ? sonvale::tests::voice("more-time-loosely-said") : voices().front();
    std::optional<Service> service;
    if (streams)
        service.emplace();
    Session session(service ? service->options : Session::Options{});
    const auto picture = folder / "listening.png";

    session.holdToTalk();
    auto player = session.startSpeaking(voice);
    // In the middle of the sentence, while the ring moves with the voice.
    pauseMilliseconds(900);
    const bool hasPicture = session.desktop.screenshot(picture);
    player.wait(60);
    session.releaseKey();
    const auto expected = service ? cleanedByRules(voice.sentence) : voice.sentence;
    const bool hasArrived = session.editor.comesToHold(expected, 10);

    for (const auto& timing : session.program.timings(""))
        fmt::print("[PERF] {}\n", timing);
    fmt::print("spoken:  {}\n", voice.sentence);
    bool hasServed = true;
    if (service) {
        hasServed = service->server.waitForCommits(1, 0) && service->cleanUps() == 1;
        fmt::print("heard:   {} (raw transcript of the service, from {} bytes of audio over {} socket(s))\n",
                   service->transcript(), service->audioBytes(), service->server.sockets().size());
    }
    fmt::print("arrived: {}{}\n", session.editor.savedText(),
               service && hasArrived
                   ? " (cleaned by the rules of the test server, which has no language model)"
                   : "");
    if (hasPicture)
        fmt::print("picture: {}\n", picture.string());
    if (!hasArrived)
        fmt::print("The text did not arrive. It should be: {}\nThe program wrote:\n{}\n", expected,
                   session.program.output());
    const auto status = session.program.quit();
    if (status != 0)
        fmt::print("the program ended with status {}\n", status.value_or(-1));
    return hasArrived && hasPicture && hasServed && status == 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::filesystem::path folder = argc > 1 ? argv[1] : ".";
        const bool streams = argc > 2 && std::string_view(argv[2]) == "--streaming";
        std::filesystem::create_directories(folder);
        return showDictation(folder, streams) ? 0 : 1;
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
