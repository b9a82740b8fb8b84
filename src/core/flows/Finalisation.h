#pragma once

#include "core/flows/CommandMode.h"
#include "core/flows/DictationContext.h"
#include "core/flows/Endings.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::core {

/// The steps of a finished transcript: command, snippet, clean-up, history, insertion. Main actor.
class Finalisation {
public:
    /// The referenced objects must outlive it.
    Finalisation(DictationContext& context, CommandMode& commandMode, Endings& endings);

    /// Finishes the transcript of a recording and ends its dictation. `stopTime`: the clock's `now()` when
    /// the key went up.
    runtime::Task<> finish(std::shared_ptr<Recording> recording, std::string text, bool isLocalOnly,
                           double stopTime);

    /// As `AppState::processAndInsert`.
    runtime::Task<> processAndInsert(std::string text, bool isFragment, bool addLeadingSpace);

    /// As `AppState::buildProcessingContext`.
    textprocessing::ProcessingContext buildProcessingContext() const;

    /// As `AppState::performBatchAICleanup`.
    runtime::Task<std::string> performBatchAICleanup(std::string rawText, std::int64_t insertionCount,
                                                     textprocessing::ProcessingContext context);

    /// Returns whether texts are cleaned up: the setting is on, and a model may be used.
    bool isCleanUpWanted(bool isLocalOnly) const;

private:
    runtime::Task<bool> insertSnippet(std::string text);
    runtime::Task<std::string> cleanUp(std::string text, bool isFragment);

    DictationContext& context_;
    CommandMode& commandMode_;
    Endings& endings_;
};

} // namespace sonvale::core
