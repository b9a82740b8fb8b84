#pragma once

#include "tests/support/PrivateSound.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// A microphone of a private sound server that hears exactly the samples that a test writes, at once and
/// without rounding. 48 kHz.
class PipeMicrophone {
public:
    PipeMicrophone(PrivateSound& sound, const std::string& name, int channels = 1);
    ~PipeMicrophone();
    PipeMicrophone(const PipeMicrophone&) = delete;
    PipeMicrophone& operator=(const PipeMicrophone&) = delete;

    /// On channel 0; the others hear the negatives.
    void speak(const std::vector<float>& samples);
    /// Takes this and all other microphones of its kind away.
    void unplug();

private:
    PrivateSound& sound_;
    int channels_;
    int pipe_ = -1;
};

} // namespace sonvale::tests
