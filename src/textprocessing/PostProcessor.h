#pragma once

#include "runtime/Task.h"
#include "textprocessing/OpenAIChatClient.h"
#include "textprocessing/ProcessingContext.h"

#include <string>

namespace sonvale::textprocessing {

/// Turns a transcript into finished text by a language model. The model is not trusted: the text is delimited
/// in the request, and an answer that is not a cleaned version of it is dropped. Any thread.
class PostProcessor {
public:
    explicit PostProcessor(OpenAIChatClient client);

    /// Returns the cleaned text. Returns texts of less than four characters unchanged, without a request.
    /// Throws `TextProcessingError` and does not retry. Cancelling the task closes the connection.
    runtime::Task<std::string> process(std::string text, ProcessingContext context, bool isFragment) const;

private:
    static runtime::Task<std::string> clean(OpenAIChatClient client, std::string text,
                                            ProcessingContext context, bool isFragment);

    OpenAIChatClient client_;
};

/// Returns whether a text is worth a request.
bool isWorthProcessing(const std::string& text);

} // namespace sonvale::textprocessing
