#pragma once

#include "textprocessing/ProcessingContext.h"

#include <string>

// What the language model is told about a dictated text. Pure; any thread.

namespace sonvale::textprocessing {

/// The rules of clean-up for one text. `isFragment`: the text is a piece of a stream that goes on.
std::string buildSystemPrompt(const ProcessingContext& context, bool isFragment);

/// The dictated text, fenced off so that it is not taken for instructions.
std::string dictationMessage(const std::string& text);

} // namespace sonvale::textprocessing
