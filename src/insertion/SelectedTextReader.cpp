#include "insertion/SelectedTextReader.h"

#include <utility>

namespace sonvale::insertion {

namespace {

constexpr double secondsToCopy = 0.15;

} // namespace

SelectedTextReader::SelectedTextReader(runtime::Actor actor, runtime::Clock& clock,
                                       platform::AccessibilityTree& accessibilityTree,
                                       platform::Pasteboard& pasteboard, platform::SyntheticInput& input)
    : actor_(std::move(actor))
    , clock_(clock)
    , accessibilityTree_(accessibilityTree)
    , pasteboard_(pasteboard)
    , clipboardManager_(pasteboard)
    , input_(input) {}

std::optional<std::string> SelectedTextReader::readViaAccessibility() {
    auto text = accessibilityTree_.selectedText();
    return text && !text->empty() ? std::move(text) : std::nullopt;
}

runtime::Task<std::optional<std::string>> SelectedTextReader::readViaClipboard() {
    return runtime::runOn(actor_, copySelection());
}

runtime::Task<std::optional<std::string>> SelectedTextReader::copySelection() {
    auto snapshot = clipboardManager_.saveContents();
    input_.pressCopy();
    co_await runtime::sleep(clock_, secondsToCopy);
    // The earlier contents must not be mistaken for the selection.
    if (pasteboard_.changeCount() == snapshot.changeCount)
        co_return std::nullopt;
    auto text = pasteboard_.string();
    clipboardManager_.restoreContents(std::move(snapshot));
    co_return text;
}

} // namespace sonvale::insertion
