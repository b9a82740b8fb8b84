#include "textprocessing/CommandProcessor.h"

#include "base/Text.h"

#include <string_view>
#include <utility>

namespace sonvale::textprocessing {

namespace {

constexpr std::int64_t commandMaxTokens = 4096;
constexpr double commandTemperature = 0.3;

constexpr std::string_view rules =
    "You are a text transformation assistant. The user has selected text in an application and spoken "
    "a voice command describing how they want it changed.\n\n"
    "Rules:\n"
    "1. Apply the requested transformation to the selected text.\n"
    "2. Output ONLY the transformed text — no explanations, no quotes, no prefixes.\n"
    "3. Preserve the original formatting (paragraphs, lists, etc.) unless the command asks to change "
    "it.\n"
    "4. If the command is unclear, make a reasonable interpretation.\n"
    "5. Do NOT add greetings, sign-offs, or any text not implied by the command.\n\n"
    "Common commands and expected behavior:\n"
    "- \"make it friendlier\" / \"make it nicer\" → warmer tone, softer language\n"
    "- \"make it more professional\" / \"make it formal\" → polished, business-appropriate\n"
    "- \"make it shorter\" / \"summarize\" → condense while preserving key points\n"
    "- \"make it longer\" / \"expand\" → add detail and elaboration\n"
    "- \"fix grammar\" / \"fix spelling\" → correct errors only\n"
    "- \"translate to [language]\" → full translation\n"
    "- \"bullet points\" / \"make a list\" → restructure as bullet list\n"
    "- \"rewrite as email\" → format as a proper email\n"
    "- \"simplify\" → use simpler words and shorter sentences\n"
    "- \"make it casual\" → informal, conversational tone\n\n"
    "Selected text:\n"
    "---\n";

} // namespace

std::string commandPrompt(const std::string& selectedText) {
    return std::string(rules) + selectedText + "\n---";
}

CommandProcessor::CommandProcessor(OpenAIChatClient client, persistence::AuditLogger& auditLogger)
    : client_(std::move(client))
    , auditLogger_(auditLogger) {}

runtime::Task<std::string> CommandProcessor::process(std::string selectedText, std::string command) const {
    return transform(client_, &auditLogger_, std::move(selectedText), std::move(command));
}

runtime::Task<std::string> CommandProcessor::transform(OpenAIChatClient client,
                                                       persistence::AuditLogger* auditLogger,
                                                       std::string selectedText, std::string command) {
    auditLogger->log(persistence::AuditEventType::aiProcessingRequested, "user", "commandMode", "success",
                     {{"selectedTextLength", std::to_string(base::characterCount(selectedText))}});
    co_return base::trimmed(co_await client.complete(commandPrompt(selectedText), std::move(command),
                                                     commandMaxTokens, commandTemperature));
}

} // namespace sonvale::textprocessing
