#pragma once

#include "tests/support/ServiceAnswers.h"

#include <memory>
#include <string>

namespace sonvale::tests {

/// Understands what a server hears, by PocketSphinx. Any thread, one call at a time runs.
///
/// The model (100 MB) is loaded by the first call. A second of speech takes about 0.2 s; destroying it ends a
/// call that runs early.
class ServerTranscriber {
public:
    ServerTranscriber();
    ~ServerTranscriber();
    ServerTranscriber(const ServerTranscriber&) = delete;
    ServerTranscriber& operator=(const ServerTranscriber&) = delete;

    /// Samples of 24 kHz, 16 bits, mono. Throws when the model cannot be loaded.
    std::string ofPcm(const std::string& pcm);
    /// The bytes of an .m4a or .wav. Throws also when they cannot be read.
    std::string ofAudioFile(const std::string& bytes);

    /// Both of them, for a server that may outlive this.
    Listening listening() const;

private:
    class Model;
    std::shared_ptr<Model> model_;
};

} // namespace sonvale::tests
