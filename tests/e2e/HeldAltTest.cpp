#include "tests/e2e/SpeechService.h"
#include "tests/support/SelectionRequestor.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

// Programs that open their menu bar for a bare Alt.

namespace sonvale::tests {

namespace {

struct Place {
    std::string name;
    WindowManager windowManager;
    Editor::Program editor;
};

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.name;
}

std::string clipboardText(const std::string& display) {
    const auto answer = SelectionRequestor(display).convert("UTF8_STRING");
    return answer ? std::string(reinterpret_cast<const char*>(answer->data.data()), answer->data.size())
                  : std::string();
}

} // namespace

/// A service that returns fixed transcripts, so that the result does not depend on the sound.
class HeldAlt : public testing::TestWithParam<Place> {
protected:
    static Session::Options options(TestServer& server) {
        hear(server, {"first words", "last words"});
        auto options = streamingTo(server, false, GetParam().editor);
        options.windowManager = GetParam().windowManager;
        return options;
    }
    void dictate() {
        session.holdToTalk();
        session.releaseKey();
    }

    TestServer server;
    Session session{options(server)};
};

TEST_P(HeldAlt, KeepsTheKeyboardInTheText) {
    session.keyboard.type("before ");
    dictate();
    session.keyboard.type(" abc");
    EXPECT_TRUE(session.editor.comesToHold("before first words abc", 10)) << session.editor.savedText();
    session.keyboard.type(" ");
    dictate();
    session.keyboard.type(" def");
    EXPECT_TRUE(session.editor.comesToHold("before first words abc last words def", 10))
        << session.editor.savedText();
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
}

TEST_P(HeldAlt, KeepsTheKeyboardInTheSearchField) {
    session.keyboard.chord(XK_Control_L, XK_f);
    // The field takes a moment to appear.
    pauseMilliseconds(1500);
    session.keyboard.type("a ");
    dictate();
    session.keyboard.type(" bc");
    std::string field;
    const bool isComplete = eventually(10, [&] {
        session.keyboard.chord(XK_Control_L, XK_a);
        session.keyboard.chord(XK_Control_L, XK_c);
        pauseMilliseconds(300);
        field = clipboardText(session.desktop.display());
        return field == "a first words bc";
    });
    EXPECT_TRUE(isComplete) << field;
    session.keyboard.tap(XK_Escape);
    pauseMilliseconds(500);
    EXPECT_EQ(session.editor.savedText(), "") << "no key has changed the text";
}

INSTANTIATE_TEST_SUITE_P(
    Places, HeldAlt,
    testing::Values(Place{"mousepad", WindowManager::openbox, Editor::Program::mousepad},
                    Place{"featherpad", WindowManager::openbox, Editor::Program::featherpad},
                    Place{"featherpadOnXfwm4", WindowManager::xfwm4, Editor::Program::featherpad},
                    Place{"kwrite", WindowManager::openbox, Editor::Program::kwrite}),
    [](const auto& info) { return info.param.name; });

} // namespace sonvale::tests
