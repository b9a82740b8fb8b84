#pragma once

#include <string>

namespace sonvale::textprocessing {

/// What is left of a language model's answer to a request for clean-up, once chatter around it is stripped;
/// the raw text when the answer looks like a reply, or like nothing, and not like a cleaned version of it.
/// Pure, any bytes, time linear in both texts; any thread.
std::string cleanOutput(const std::string& output, const std::string& rawText);

} // namespace sonvale::textprocessing
