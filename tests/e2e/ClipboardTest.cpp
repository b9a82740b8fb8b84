#include "tests/e2e/CopiedPage.h"
#include "tests/e2e/SpeechService.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <ostream>

// A dictation keeps the texts and pictures that the user had copied, and the selection.

namespace sonvale::tests {

namespace {

using Form = SelectionOwner::Form;

std::vector<std::byte> noise(std::size_t count) {
    std::vector<std::byte> data(count);
    std::mt19937 random(11);
    for (auto& byte : data)
        byte = static_cast<std::byte>(random());
    return data;
}

/// A program whose content the user has copied, and how long the user speaks.
struct Copied {
    std::string name;
    std::vector<Form> forms;
    int spokenMilliseconds;
};

void PrintTo(const Copied& copied, std::ostream* stream) {
    *stream << copied.name;
}

/// Returns a picture as toolkits deliver it: encoded on request, which blocks the whole program meanwhile.
std::vector<Form> pictureThatTakes(int milliseconds, std::size_t size) {
    return {{.target = "text/html", .data = bytesOf("<img src='picture'>")},
            {.target = "image/png",
             .data = noise(size),
             .isIncremental = true,
             .delayMilliseconds = milliseconds}};
}

std::vector<Form> drawing() {
    return {{.target = "image/svg+xml", .data = bytesOf("<svg/>")},
            {.target = "image/x-inkscape-svg", .data = bytesOf("<svg><sodipodi:namedview/></svg>")},
            {.target = "image/png", .data = noise(200'000), .delayMilliseconds = 700}};
}

void expectOffered(const std::string& display, const std::vector<Form>& forms) {
    SelectionRequestor requestor(display);
    for (const auto& form : forms) {
        const bool isThere = eventually(30, [&] {
            const auto answer = requestor.convert(form.target, 30);
            return answer && answer->data == form.data;
        });
        EXPECT_TRUE(isThere) << form.target;
    }
}

/// Holds Alt and speaks for this time. The service returns a fixed transcript.
void dictateFor(Session& session, int milliseconds) {
    session.holdToTalk();
    const auto speech = session.startSpeaking(voices().front());
    pauseMilliseconds(milliseconds);
    session.releaseKey();
}

} // namespace

class ClipboardOf : public testing::TestWithParam<Copied> {};

TEST_P(ClipboardOf, IsRestoredAfterADictation) {
    const auto& [name, forms, spokenMilliseconds] = GetParam();
    TestServer server;
    hear(server, {"the caption"});
    Session session(streamingTo(server, false));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const SelectionOwner owner(session.desktop.display(), forms);

    dictateFor(session, spokenMilliseconds);

    EXPECT_TRUE(session.editor.comesToHold("the caption", 20)) << session.editor.savedText();
    expectOffered(session.desktop.display(), forms);
    // A blocked program notices it later.
    EXPECT_TRUE(eventually(10, [&owner] { return !owner.isOwner(); }));
    for (const auto& form : forms)
        EXPECT_EQ(owner.requests(form.target), 1) << form.target;
}

INSTANTIATE_TEST_SUITE_P(
    Programs, ClipboardOf,
    testing::Values(Copied{"thatNeeds2Seconds", pictureThatTakes(2000, 3'000'000), 3000},
                    Copied{"thatNeeds2SecondsInAShortDictation", pictureThatTakes(2000, 3'000'000), 500},
                    Copied{"thatNeeds6SecondsInAShortDictation", pictureThatTakes(6000, 3'000'000), 500},
                    Copied{"ofDrawing", drawing(), 3000},
                    Copied{"ofDrawingInAShortDictation", drawing(), 500},
                    Copied{"with40Megapixels", pictureThatTakes(1500, 80'000'000), 3000}),
    [](const auto& info) { return info.param.name; });

TEST(Clipboard, KeepsTheSelectionOfAnotherProgramAfterADictationIntoAnXterm) {
    TestServer server;
    hear(server, {"dictated words"});
    Session session(streamingTo(server, false, Editor::Program::xterm));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const SelectionOwner marked(session.desktop.display(),
                                {{.target = "UTF8_STRING", .data = bytesOf("marked elsewhere")}},
                                {.selection = "PRIMARY"});

    dictateFor(session, 500);

    EXPECT_TRUE(session.editor.comesToHold("dictated words", 20)) << session.editor.savedText();
    const auto answer = SelectionRequestor(session.desktop.display(), "PRIMARY").convert("UTF8_STRING");
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->data, bytesOf("marked elsewhere"));
}

TEST(Clipboard, AndTheSelectionAreKeptIfThereWasNoSpeech) {
    TestServer server;
    hear(server, {});
    auto options = streamingTo(server, false);
    options.text = "one two three";
    Session session(options);
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const auto copied = copiedPage();
    const SelectionOwner owner(session.desktop.display(), copied);
    session.keyboard.chord(XK_Control_L, XK_Home);
    for (int i = 0; i < 4; ++i)
        session.keyboard.tap(XK_Right);
    session.keyboard.down(XK_Shift_L);
    for (int i = 0; i < 3; ++i)
        session.keyboard.tap(XK_Right);
    session.keyboard.up(XK_Shift_L);
    pauseMilliseconds(500);

    dictateFor(session, 500);

    expectClipboardHolds(session.desktop.display(), copied);
    session.keyboard.type("x");
    EXPECT_TRUE(session.editor.comesToHold("one x three", 20)) << session.editor.savedText();
}

} // namespace sonvale::tests
