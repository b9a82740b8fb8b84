#include "tests/e2e/Session.h"
#include "tests/support/Voices.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

using namespace sonvale::tests;

/// Dictates a sentence into a real editor, with a picture of the screen while the program listens.
bool showDictation(const std::filesystem::path& folder) {
    const auto& voice = voices().front();
    Session session;
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
    const auto status = session.program.quit();
    if (status != 0)
        fmt::print("the program ended with status {}\n", status.value_or(-1));
    return hasArrived && hasPicture && status == 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const std::filesystem::path folder = argc > 1 ? argv[1] : ".";
        std::filesystem::create_directories(folder);
        return showDictation(folder) ? 0 : 1;
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
