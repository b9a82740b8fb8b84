#pragma once

#include "textprocessing/ProcessingContext.h"

#include <string>

// Prompts for the language model about a dictated text. Pure functions; any thread.

namespace sonvale::textprocessing {

/// Returns the rules of clean-up for one text. `isFragment`: the text is a piece of a longer stream.
std::string buildSystemPrompt(const ProcessingContext& context, bool isFragment);

/// Returns the dictated text between delimiters, so that the model does not follow it as instructions.
std::string dictationMessage(const std::string& text);

} // namespace sonvale::textprocessing
