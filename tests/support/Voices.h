#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A recorded sentence that the recogniser is known to understand word for word, also after it has been
/// played into a microphone and recorded as AAC. It shows that the way is intact, not how good the recogniser
/// is.
struct Voice {
    std::string name;     ///< "late-for-the-meeting"
    std::string speaker;  ///< voice of the speech synthesis
    std::string sentence; ///< lower case, without punctuation
};

/// All of them, in the order of the list.
const std::vector<Voice>& voices();

/// Throws for a name that is not in the list.
const Voice& voice(const std::string& name);

/// The recording, 48 kHz stereo, 16 bits; made when it is missing, which takes some tenths of a second. Any
/// thread, any number of processes. Throws when it cannot be made.
std::filesystem::path voiceFile(const std::string& name);

} // namespace sonvale::tests
