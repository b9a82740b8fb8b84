#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A recorded sentence that the recognizer understands word for word, even after it was played into a
/// microphone and recorded as AAC. It shows that the audio arrives intact, not how good the recognizer is.
struct Voice {
    std::string name;     ///< "late-for-the-meeting"
    std::string speaker;  ///< the voice of the speech synthesis
    std::string sentence; ///< lower case, without punctuation
};

/// Returns all voices, in the order of the list.
const std::vector<Voice>& voices();

/// Returns the voice of this name. Throws if it is not in the list.
const Voice& voice(const std::string& name);

/// Returns the recording, 48 kHz stereo, 16 bits. Makes it if it is missing, which needs some tenths of a
/// second. Any thread, any number of processes. Throws if it cannot be made.
std::filesystem::path voiceFile(const std::string& name);

} // namespace sonvale::tests
