#pragma once

#include "tests/support/PrivateSound.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// A microphone of a private sound server that records exactly the samples that a test writes, at once and
/// without rounding. 48 kHz.
class PipeMicrophone {
public:
    PipeMicrophone(PrivateSound& sound, const std::string& name, int channels = 1);
    ~PipeMicrophone();
    PipeMicrophone(const PipeMicrophone&) = delete;
    PipeMicrophone& operator=(const PipeMicrophone&) = delete;

    /// Writes samples to channel 0, and their negatives to the others.
    void speak(const std::vector<float>& samples);
    /// Removes this and all other microphones of its kind.
    void unplug();

private:
    PrivateSound& sound_;
    int channels_;
    int pipe_ = -1;
};

} // namespace sonvale::tests
