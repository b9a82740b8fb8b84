#pragma once

#include <string>

namespace sonvale::textprocessing {

/// Returns a language model's answer to a request for clean-up without the text around it; the raw text if
/// the answer is empty or looks like a reply and not like a cleaned version. Pure; any bytes; linear in both
/// texts; any thread.
std::string cleanOutput(const std::string& output, const std::string& rawText);

} // namespace sonvale::textprocessing
