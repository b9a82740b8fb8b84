#pragma once

#include "runtime/Task.h"
#include "textprocessing/OpenAIChatClient.h"
#include "textprocessing/ProcessingContext.h"

#include <string>

namespace sonvale::textprocessing {

/// Turns what the recogniser heard into finished text, by a language model that is not trusted: the text is
/// fenced off in the request, and an answer that is not a cleaned version of it is dropped. Any thread.
class PostProcessor {
public:
    explicit PostProcessor(OpenAIChatClient client);

    /// The cleaned text. Texts of less than four characters come back as they are, without a request. Throws
    /// `TextProcessingError`; there is no second try. Cancelling the task closes the connection.
    runtime::Task<std::string> process(std::string text, ProcessingContext context, bool isFragment) const;

private:
    static runtime::Task<std::string> clean(OpenAIChatClient client, std::string text,
                                            ProcessingContext context, bool isFragment);

    OpenAIChatClient client_;
};

/// Whether a text is worth a request.
bool isWorthProcessing(const std::string& text);

} // namespace sonvale::textprocessing
