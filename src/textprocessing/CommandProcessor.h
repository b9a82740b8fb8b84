#pragma once

#include "persistence/AuditLogger.h"
#include "runtime/Task.h"
#include "textprocessing/OpenAIChatClient.h"

#include <string>

namespace sonvale::textprocessing {

/// Changes a selected text by a spoken instruction, with a language model. Any thread; the audit log must
/// outlive its calls.
class CommandProcessor {
public:
    CommandProcessor(OpenAIChatClient client, persistence::AuditLogger& auditLogger);

    /// Returns the changed text, trimmed. Throws `TextProcessingError`; does not retry, and has no time limit
    /// but the client's. Cancelling the task closes the connection.
    runtime::Task<std::string> process(std::string selectedText, std::string command) const;

private:
    static runtime::Task<std::string> transform(OpenAIChatClient client,
                                                persistence::AuditLogger* auditLogger,
                                                std::string selectedText, std::string command);

    OpenAIChatClient client_;
    persistence::AuditLogger& auditLogger_;
};

/// Returns the prompt for the model about the selected text. Pure; any thread.
std::string commandPrompt(const std::string& selectedText);

} // namespace sonvale::textprocessing
