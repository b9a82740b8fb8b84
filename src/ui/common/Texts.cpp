#include "ui/common/Texts.h"

#include <QCoreApplication>
#include <array>
#include <optional>

namespace sonvale::ui {

namespace {

/// The context of Texts.qml, so that one translation file holds both.
constexpr const char* context = "Texts";

/// The words and patterns of the lower layers, which cannot mark them. This layer marks its words where
/// they are used.
constexpr std::array translatable{
    // what the shortcuts do
    QT_TRANSLATE_NOOP("Texts", "Push to Talk"),
    QT_TRANSLATE_NOOP("Texts", "Hold to say something short"),
    QT_TRANSLATE_NOOP("Texts", "Hands-Free Mode"),
    QT_TRANSLATE_NOOP("Texts", "Press to start/stop dictation"),
    QT_TRANSLATE_NOOP("Texts", "Command Mode"),
    QT_TRANSLATE_NOOP("Texts", "Select text and ask Son Vale to transform it"),
    QT_TRANSLATE_NOOP("Texts", "Paste Last Transcript"),
    QT_TRANSLATE_NOOP("Texts", "Re-paste the last thing you dictated"),
    QT_TRANSLATE_NOOP("Texts", "Cancel"),
    QT_TRANSLATE_NOOP("Texts", "Dismiss dictation and notifications"),
    // the account
    QT_TRANSLATE_NOOP("Texts", "Unexpected response from the server. Please try again."),
    QT_TRANSLATE_NOOP("Texts", "Your session has expired. Please sign in again."),
    QT_TRANSLATE_NOOP("Texts", "Please confirm your account using the link sent to your email."),
    QT_TRANSLATE_NOOP("Texts", "Server error (%1)."),
    QT_TRANSLATE_NOOP("Texts", "Network error: %1"),
    // support
    QT_TRANSLATE_NOOP("Texts",
                      "Hi! I'm here to help with setup, troubleshooting, or account questions. What's "
                      "going on?"),
    QT_TRANSLATE_NOOP("Texts", "You must be signed in to use support chat."),
    QT_TRANSLATE_NOOP("Texts", "Failed to build request. Please try again."),
    QT_TRANSLATE_NOOP("Texts", "Sorry, I didn't receive a response. Please try again."),
    QT_TRANSLATE_NOOP("Texts", "Received an unexpected response from the server. Please try again."),
    QT_TRANSLATE_NOOP("Texts", "Something went wrong. Please check your connection and try again."),
    QT_TRANSLATE_NOOP("Texts", "Server returned an error (HTTP %1). Please try again."),
    // dictation
    QT_TRANSLATE_NOOP("Texts", "No audio recorded."),
    QT_TRANSLATE_NOOP("Texts", "Failed to start hotkey listener. Try restarting the app."),
    QT_TRANSLATE_NOOP("Texts", "Unable to connect to the transcription service. Please try again."),
    QT_TRANSLATE_NOOP(
        "Texts", "Your saved history could not be opened. It was put aside, and a new one has been started."),
    QT_TRANSLATE_NOOP("Texts", "Hands-free mode needs Streaming or Hybrid."),
    QT_TRANSLATE_NOOP(
        "Texts", "The screen was locked, so nothing was typed. Your text is kept as the last transcript."),
    QT_TRANSLATE_NOOP("Texts", "%1 is used by another program."),
    QT_TRANSLATE_NOOP("Texts", "Failed to start recording: %1"),
    QT_TRANSLATE_NOOP("Texts",
                      "No audio input device is available. Please connect a microphone and try again."),
    QT_TRANSLATE_NOOP("Texts", "Transcription failed: %1"),
    QT_TRANSLATE_NOOP("Texts", "No audio file found for transcription."),
    QT_TRANSLATE_NOOP("Texts", "API key is not configured."),
    QT_TRANSLATE_NOOP("Texts", "Invalid response from transcription service."),
    QT_TRANSLATE_NOOP("Texts", "Transcription engine is not available."),
    QT_TRANSLATE_NOOP("Texts", "Transcription timed out."),
    QT_TRANSLATE_NOOP("Texts", "Please update Son Vale to the latest version."),
};

constexpr std::string_view placeholder = "%1";

/// Returns the text in the place of the placeholder of `pattern`, or nullopt if `words` do not match.
std::optional<std::string_view> dataIn(std::string_view words, std::string_view pattern) {
    const auto place = pattern.find(placeholder);
    if (place == std::string_view::npos)
        return std::nullopt;
    const auto before = pattern.substr(0, place);
    const auto after = pattern.substr(place + placeholder.size());
    if (words.size() < before.size() + after.size() || !words.starts_with(before) || !words.ends_with(after))
        return std::nullopt;
    return words.substr(before.size(), words.size() - before.size() - after.size());
}

} // namespace

QString translated(std::string_view words) {
    for (const auto* pattern : translatable) {
        // The data can be a sentence of the program, too.
        if (const auto data = dataIn(words, pattern))
            return QCoreApplication::translate(context, pattern)
                .replace(QLatin1String("%1"), translated(*data));
    }
    return QCoreApplication::translate(context, std::string(words).c_str());
}

std::span<const char* const> wordsOfLowerLayers() {
    return translatable;
}

} // namespace sonvale::ui
