#pragma once

#include "platform/AudioTypes.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

struct ps_decoder_s;

namespace sonvale::adapters::pocketsphinx {

/// A model that failed to load. `what()` is fit for the user.
class PocketSphinxError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The files of the model of one language.
struct PocketSphinxModel {
    std::filesystem::path acousticModel; ///< a folder
    std::filesystem::path languageModel;
    std::filesystem::path dictionary;

    /// Returns the model for English in a folder of models.
    static PocketSphinxModel english(const std::filesystem::path& modelDirectory);

    /// Returns whether every file exists without which the library ends the process.
    bool isInstalled() const;
};

/// A loaded model. Loading needs 0.3 to 1 s and about 100 MB. One thread at a time.
class PocketSphinxDecoder {
public:
    static constexpr double sampleRate = 16000;

    /// Loads the model. Throws `PocketSphinxError`.
    explicit PocketSphinxDecoder(const PocketSphinxModel& model);
    ~PocketSphinxDecoder();
    PocketSphinxDecoder(const PocketSphinxDecoder&) = delete;
    PocketSphinxDecoder& operator=(const PocketSphinxDecoder&) = delete;

    /// Returns the words in `samples` (16 kHz), in lower case with single blanks; empty if nothing was said.
    /// Needs 0.15 to 0.2 s per second of audio. Returns early, with the words so far, if `isCancelled`
    /// becomes true.
    std::string transcribe(std::span<const float> samples, const std::atomic<bool>& isCancelled);

private:
    /// The input of the recognizer: a vector of `length` numbers for each hundredth of a second that may
    /// contain speech, by the blocks of samples from which they come.
    struct Features {
        struct Block {
            std::size_t first = 0; ///< vector
            std::size_t end = 0;   ///< after the last one
            bool endsInSpeech = false;
        };
        std::size_t length = 0;
        std::vector<float> values;
        std::vector<Block> blocks;
    };

    Features featuresOf(std::span<const std::int16_t> samples, const std::atomic<bool>& isCancelled);
    void adaptTo(const Features& features);
    std::string endUtterance();

    ps_decoder_s* decoder_ = nullptr;
};

} // namespace sonvale::adapters::pocketsphinx
