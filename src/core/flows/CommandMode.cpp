#include "core/flows/CommandMode.h"

#include <utility>

namespace sonvale::core {

CommandMode::CommandMode(DictationContext& context)
    : context_(context) {}

runtime::Task<std::optional<std::string>> CommandMode::readSelection() {
    auto& reader = *context_.services.selectedTextReader;
    if (auto text = reader.readViaAccessibility())
        co_return text;
    const auto turn = co_await context_.typing.lockClipboard();
    co_return co_await reader.readViaClipboard();
}

bool CommandMode::isMeant(bool isLocalOnly) const {
    const auto& selection = context_.state.selectedTextForCommand.get();
    return !isLocalOnly && selection && !selection->empty() && context_.services.isModelReachable();
}

runtime::Task<bool> CommandMode::run(std::string transcript) {
    auto selection = context_.state.selectedTextForCommand.get().value_or("");
    context_.state.selectedTextForCommand = std::nullopt;
    std::optional<std::string> result;
    try {
        result =
            co_await context_.services.commandProcessor->process(std::move(selection), std::move(transcript));
    } catch (const std::exception&) {
        context_.environment.auditLogger.logError("commandProcessor", "command-processing-failed");
    }
    if (!result)
        co_return false;
    context_.transcripts.show(*result);
    co_await context_.typing.insert(*std::move(result));
    co_return true;
}

} // namespace sonvale::core
