#include "audio/AudioRecorderError.h"
#include "hotkeys/HotkeyAction.h"
#include "persistence/SettingsKeys.h"
#include "services/AuthAnswers.h"
#include "services/AuthError.h"
#include "services/SupportChatError.h"
#include "services/SupportMessages.h"
#include "tests/ui/common/ViewFixture.h"
#include "transcription/TranscriptionError.h"
#include "ui/common/Languages.h"
#include "ui/common/Texts.h"
#include "ui/menu/MenuStatus.h"
#include "ui/style/FormalityText.h"

#include <gtest/gtest.h>

#include <QTranslator>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
using platform::RecordingState;

/// A language with brackets around every text. A strict one contains only what translators receive: the texts
/// of the views, and from the other layers only the listed ones.
class Brackets final : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char* /*note*/,
                      int /*number*/) const override {
        if (QLatin1String(context) != QLatin1String("Texts"))
            return {};
        if (isStrict && !isListed(source))
            return {};
        return QStringLiteral("[") + QString::fromUtf8(source) + QStringLiteral("]");
    }

    bool isStrict = false; ///< translates only the listed words

private:
    static bool isListed(std::string_view source) {
        return std::ranges::any_of(wordsOfLowerLayers(),
                                   [source](std::string_view each) { return each == source; });
    }
};

class Translation : public tests::ViewFixture {
protected:
    Translation() { QCoreApplication::installTranslator(&brackets_); }
    ~Translation() override { QCoreApplication::removeTranslator(&brackets_); }

    /// Expects that every readable text is translated, except the texts of the user and `others`. Expects at
    /// least `least` texts.
    static void expectTranslated(QQuickView& view, const std::string& screen, int least,
                                 const std::set<std::string>& others = {}) {
        int count = 0;
        for (const auto& text : readable(view)) {
            const bool isNumber = text.find_first_not_of("0123456789.,:K APM\u202f") == std::string::npos;
            if (isNumber || others.contains(text))
                continue;
            EXPECT_TRUE(text.starts_with('[') && text.ends_with(']')) << screen << ": " << text;
            ++count;
        }
        EXPECT_GE(count, least) << screen;
    }

    Brackets& brackets() { return brackets_; }

private:
    Brackets brackets_;
};

/// Returns the words that the sources of the layer mark, as the tools for translators collect them.
std::set<std::string> markedWords() {
    const std::regex mark(R"x(QT_TRANSLATE_NOOP\(\s*"Texts",\s*"([^"]*)"\s*\))x");
    std::set<std::string> words;
    const std::filesystem::path sources = SONVALE_SOURCE_DIR "/src/ui";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sources)) {
        if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h")
            continue;
        std::ifstream file(entry.path());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        for (std::sregex_iterator found(text.begin(), text.end(), mark), end; found != end; ++found)
            words.insert((*found)[1]);
    }
    return words;
}

} // namespace

TEST_F(Translation, OfEveryStepOfOnboarding) {
    capture().setStatus(platform::CaptureStatus::denied);
    for (std::int64_t step = 0; step < 12; ++step) {
        settings().set(keys::onboardingStep, step);
        auto& view = openDashboard();
        expectTranslated(view, "step " + std::to_string(step), 3, {"⌥", "Option", "Alt"});
    }
}

TEST_F(Translation, OfSignIn) {
    completeOnboardingAndStart();
    auto& view = openDashboard();
    click(view, "submit");
    expectTranslated(view, "sign in", 7);
    click(view, "switchMode");
    expectTranslated(view, "sign up", 7);
}

TEST_F(Translation, OfTheMenu) {
    expectTranslated(openMenu(), "menu", 9, {"⌘⌥V"});
    change([&] { state().surfaceError("No audio recorded."); });
    auto& view = openMenu();
    click(view, "language");
    expectTranslated(view, "menu with languages", 20, {"⌘⌥V"});
}

TEST_F(Translation, OfEveryTab) {
    settings().set(keys::refreshToken, "refresh");
    settings().set(keys::userEmail, "ann@example.com");
    recognizer().setAuthorization(platform::SpeechAuthorization::denied);
    workspace().setFullUserName("Ada");
    rebuildState();
    completeOnboardingAndStart();
    state().modelContext->insert(persistence::Snippet{.trigger = "trigger", .content = "content"});
    state().modelContext->save();
    auto& view = openDashboard();
    change([&] { dictate("some words"); });
    for (const auto* tab : {"home", "snippets", "style", "scratchpad", "settings", "help"}) {
        click(view, std::string("sidebar.") + tab);
        expectTranslated(view, tab, 10, {"ann@example.com", "some words", "trigger", "content", "2.3.4"});
    }
}

TEST_F(Translation, OfTheSheets) {
    startSignedIn();
    auto& view = openDashboard();
    click(view, "sidebar.snippets");
    click(view, "addNew");
    expectTranslated(view, "add a snippet", 15);
    press(view, Qt::Key_Escape);
    click(view, "sidebar.settings");
    scrollTo(view, "changeHotkeys");
    click(view, "changeHotkeys");
    expectTranslated(view, "shortcuts", 40,
                     {"⌥ Opt", "⌘ Cmd", "⌃ Ctrl", "⇧ Shift", "⎋ Esc", "Space", "=", "V", "2.3.4"});
}

TEST_F(Translation, OfSentencesWithData) {
    brackets().isStrict = true;
    const auto wrong = platform::UrlError(platform::UrlError::Code::timedOut, "The request timed out.");
    const std::pair<std::string, const char*> rows[] = {
        {services::authErrorText(500, ""), "[Server error (500).]"},
        {services::authErrorText(400, R"({"error_code":"email_not_confirmed"})"),
         "[Please confirm your account using the link sent to your email.]"},
        {services::AuthError::networkError(services::UnderlyingError::from(wrong, "test")).errorDescription(),
         "[Network error: The request timed out.]"},
        {services::SupportChatError::serverError(503).what(),
         "[Server returned an error (HTTP 503). Please try again.]"},
        {"Transcription failed: " + transcription::TranscriptionError::timeout().errorDescription(),
         "[Transcription failed: [Transcription timed out.]]"},
        {"Failed to start recording: " +
             std::string(audio::AudioRecorderError(audio::AudioRecorderError::Case::noInputAvailable).what()),
         "[Failed to start recording: [No audio input device is available. Please connect a microphone and "
         "try "
         "again.]]"},
        {"Option + Space is used by another program.", "[Option + Space is used by another program.]"},
        {"Server error (", "Server error ("},
        {"a server's own words", "a server's own words"}};
    for (const auto& [words, expected] : rows)
        EXPECT_EQ(translated(words).toStdString(), expected);
}

TEST_F(Translation, OfErrorsOfTheServices) {
    brackets().isStrict = true;
    completeOnboardingAndStart();
    network().answerNext(500, "");
    auto& view = openDashboard();
    click(view, "email");
    type(view, "ann@example.com");
    click(view, "password");
    type(view, "long enough");
    press(view, Qt::Key_Return);
    EXPECT_EQ(text(view, "localError"), "[Server error (500).]");
    change([&] { state().surfaceError("Transcription failed: Transcription timed out."); });
    EXPECT_EQ(text(openMenu(), "error"), "[Transcription failed: [Transcription timed out.]]");
}

TEST(Texts, AreMarkedForTranslators) {
    auto marked = markedWords();
    for (const auto* each : wordsOfLowerLayers())
        marked.emplace(each);
    std::vector<std::string_view> shown{services::supportGreeting, "Today", "Yesterday", "Already used by "};
    for (const auto state : {RecordingState::idle, RecordingState::recording, RecordingState::processing,
                             RecordingState::processingHandsFree})
        shown.push_back(menuStatus(state));
    for (const auto& language : languages())
        shown.push_back(language.label);
    for (const auto action : hotkeys::allHotkeyActions) {
        shown.push_back(hotkeys::label(action));
        shown.push_back(hotkeys::subtitle(action));
    }
    for (int formality = 0; formality <= 5; ++formality)
        shown.push_back(formalityText(formality));
    for (const auto words : shown)
        EXPECT_TRUE(marked.contains(std::string(words))) << words;
}

TEST(Texts, AreUnchangedWithoutATranslation) {
    for (const auto* words : wordsOfLowerLayers())
        EXPECT_EQ(translated(words), QString::fromUtf8(words));
    EXPECT_EQ(translated("nobody knows these — 7"), QStringLiteral("nobody knows these — 7"));
}

} // namespace sonvale::ui
