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

/// A model that cannot be loaded. `what()` is fit for the user.
class PocketSphinxError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Files of the model of one language.
struct PocketSphinxModel {
    std::filesystem::path acousticModel; ///< a folder
    std::filesystem::path languageModel;
    std::filesystem::path dictionary;

    /// The model for English as it lies in a folder of models.
    static PocketSphinxModel english(const std::filesystem::path& modelDirectory);

    /// Whether every file is there that the library ends the whole process for when it is missing.
    bool isInstalled() const;
};

/// A loaded model: 0.3 to 1 s to load, about 100 MB. One thread at a time.
class PocketSphinxDecoder {
public:
    static constexpr double sampleRate = 16000;

    /// Throws `PocketSphinxError`.
    explicit PocketSphinxDecoder(const PocketSphinxModel& model);
    ~PocketSphinxDecoder();
    PocketSphinxDecoder(const PocketSphinxDecoder&) = delete;
    PocketSphinxDecoder& operator=(const PocketSphinxDecoder&) = delete;

    /// The words in `samples` (16 kHz), lower case with single blanks; empty when nothing was said. Takes
    /// 0.15 to 0.2 s for a second of audio. Once `isCancelled` it returns early, with whatever it has.
    std::string transcribe(std::span<const float> samples, const std::atomic<bool>& isCancelled);

private:
    /// What the recogniser looks at: a vector of `length` numbers for each hundredth of a second in which
    /// there may be speech, by the blocks of samples that they come from.
    struct Features {
        struct Block {
            std::size_t first = 0; ///< vector
            std::size_t end = 0;   ///< behind the last one
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
