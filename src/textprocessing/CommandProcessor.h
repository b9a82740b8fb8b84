#pragma once

#include "persistence/AuditLogger.h"
#include "runtime/Task.h"
#include "textprocessing/OpenAIChatClient.h"

#include <string>

namespace sonvale::textprocessing {

/// Lets a language model change a selected text as a spoken instruction says. Any thread; the audit log must
/// outlive its calls.
class CommandProcessor {
public:
    CommandProcessor(OpenAIChatClient client, persistence::AuditLogger& auditLogger);

    /// The changed text, trimmed. Throws `TextProcessingError`; there is no second try, and no limit of time
    /// but the client's. Cancelling the task closes the connection.
    runtime::Task<std::string> process(std::string selectedText, std::string command) const;

private:
    static runtime::Task<std::string> transform(OpenAIChatClient client,
                                                persistence::AuditLogger* auditLogger,
                                                std::string selectedText, std::string command);

    OpenAIChatClient client_;
    persistence::AuditLogger& auditLogger_;
};

/// What the model is told about the selected text. Pure; any thread.
std::string commandPrompt(const std::string& selectedText);

} // namespace sonvale::textprocessing
