#pragma once

#include "core/flows/DictationContext.h"

#include <optional>
#include <string>

namespace sonvale::core {

/// Rewrites the selected text as the user says. Main actor.
class CommandMode {
public:
    /// The context must outlive it.
    explicit CommandMode(DictationContext& context);

    /// Returns the selection of the application in front, or nullopt if there is none. Uses the clipboard,
    /// and restores it, if the application does not give its selection to assistive technology.
    runtime::Task<std::optional<std::string>> readSelection();

    /// Returns whether a transcript is an instruction: there is a selection, and a model may be used.
    bool isMeant(bool isLocalOnly) const;

    /// Rewrites the selection as the transcript says, and types the result. Returns false if that fails. The
    /// transcript is then an ordinary text.
    runtime::Task<bool> run(std::string transcript);

private:
    DictationContext& context_;
};

} // namespace sonvale::core
