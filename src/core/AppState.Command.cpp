#include "core/AppState.h"

#include <utility>

namespace sonvale::core {

runtime::Task<std::optional<std::string>> AppState::readSelection() {
    if (auto text = selectedTextReader->readViaAccessibility())
        co_return text;
    const auto turn = co_await insertion_.lock();
    co_return co_await selectedTextReader->readViaClipboard();
}

bool AppState::isCommand(bool isLocalOnly) const {
    const auto& selection = selectedTextForCommand.get();
    return !isLocalOnly && selection && !selection->empty() && isModelReachable();
}

/// Rewrites the selection as the transcript says. False when that failed: the transcript is then a text like
/// any other.
runtime::Task<bool> AppState::runCommand(std::string transcript) {
    auto selection = selectedTextForCommand.get().value_or("");
    selectedTextForCommand = std::nullopt;
    std::optional<std::string> result;
    try {
        result = co_await commandProcessor->process(std::move(selection), std::move(transcript));
    } catch (const std::exception&) {
        environment_.auditLogger.logError("commandProcessor", "command-processing-failed");
    }
    if (!result)
        co_return false;
    setTranscription(*result);
    co_await insertText(*std::move(result));
    co_return true;
}

} // namespace sonvale::core
