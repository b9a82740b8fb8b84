#include "tests/e2e/Session.h"
#include "tests/server/ServerTranscriber.h"
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

/// A service of our own on this machine, and a program that is built for it.
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

    ServerTranscriber transcriber;
    TestServer server;
    Session::Options options;
};

/// Dictates a sentence into a real editor, with a picture of the screen while the program listens; with
/// `streams` by way of a service, else by the recogniser on this machine.
bool showDictation(const std::filesystem::path& folder, bool streams) {
    const auto& voice = voices().front();
    std::optional<Service> service;
    if (streams)
        service.emplace();
    Session session(service ? service->options : Session::Options{});
    const auto picture = folder / "listening.png";

    session.holdToTalk();
    auto player = session.startSpeaking(voice);
    // In the middle of the sentence, when the ring moves with the voice.
    pauseMilliseconds(900);
    const bool hasPicture = session.desktop.screenshot(picture);
    player.wait(60);
    session.letGo();
    const bool hasArrived = session.editor.comesToHold(voice.sentence, 10);

    for (const auto& timing : session.program.timings(""))
        fmt::print("[PERF] {}\n", timing);
    fmt::print("spoken:  {}\narrived: {}\n", voice.sentence, session.editor.savedText());
    if (hasPicture)
        fmt::print("picture: {}\n", picture.string());
    if (!hasArrived)
        fmt::print("The text did not arrive. The program wrote:\n{}\n", session.program.output());
    const bool hasStreamed = !service || service->server.waitForCommits(1, 0);
    if (service)
        fmt::print("heard by the service: {} bytes of audio over {} socket(s)\n",
                   hasStreamed ? service->server.socket().audio().size() : 0,
                   service->server.sockets().size());
    const auto status = session.program.quit();
    if (status != 0)
        fmt::print("the program ended with status {}\n", status.value_or(-1));
    return hasArrived && hasPicture && hasStreamed && status == 0;
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
