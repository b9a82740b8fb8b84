#include "adapters/pocketsphinx/PocketSphinxDecoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

extern "C" {
#include <pocketsphinx.h>
#include <sphinxbase/err.h>
}

namespace sonvale::adapters::pocketsphinx {

namespace {

constexpr std::size_t blockSamples = 2048;

/// The last pass over an utterance cannot be interrupted and needs some hundredths of its length. After the
/// first length an utterance ends at the speaker's next pause; at the second one it is cut.
constexpr std::size_t samplesUntilPause = 15 * 16000;
constexpr std::size_t samplesUntilCut = 40 * 16000;

struct ConfigurationDeleter {
    void operator()(cmd_ln_t* configuration) const { cmd_ln_free_r(configuration); }
};

std::vector<std::int16_t> integers(std::span<const float> samples) {
    std::vector<std::int16_t> result(samples.size());
    std::ranges::transform(samples, result.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * 32767));
    });
    return result;
}

/// The library's front end for one recording: makes a vector of numbers of each hundredth of a second in
/// which there may be speech.
class FrontEnd {
public:
    explicit FrontEnd(fe_t* frontEnd)
        : frontEnd_(frontEnd)
        , length_(static_cast<std::size_t>(fe_get_output_size(frontEnd)))
        , buffer_(rowsAtOnce * length_) {
        for (std::size_t row = 0; row < rowsAtOnce; ++row)
            rows_[row] = buffer_.data() + row * length_;
        // Forgets the noise of earlier recordings.
        fe_start_stream(frontEnd_);
        fe_start_utt(frontEnd_);
    }

    void process(std::span<const std::int16_t> samples) {
        const int16* next = samples.data();
        std::size_t left = samples.size();
        while (left > 0) {
            const auto before = left;
            int32 produced = rowsAtOnce;
            fe_process_frames(frontEnd_, &next, &left, rows_.data(), &produced, nullptr);
            take(produced);
            if (produced <= 0 && left == before)
                break;
        }
    }

    void finish() {
        int32 produced = 0;
        fe_end_utt(frontEnd_, rows_[0], &produced);
        take(produced);
    }

    bool isInSpeech() const { return fe_get_vad_state(frontEnd_) != 0; }
    /// Returns the numbers per vector.
    std::size_t length() const { return length_; }
    /// Returns the vectors so far.
    std::size_t count() const { return values_.size() / length_; }
    std::vector<float> takeValues() { return std::move(values_); }

private:
    // More than one block gives, including the frames that the library holds back until it has detected
    // speech.
    static constexpr std::size_t rowsAtOnce = 512;

    void take(int32 count) {
        const auto size = static_cast<std::ptrdiff_t>(length_) * std::max(count, 0);
        values_.insert(values_.end(), buffer_.begin(), buffer_.begin() + size);
    }

    fe_t* const frontEnd_;
    const std::size_t length_;
    std::vector<mfcc_t> buffer_;
    std::array<mfcc_t*, rowsAtOnce> rows_{};
    std::vector<float> values_;
};

} // namespace

PocketSphinxModel PocketSphinxModel::english(const std::filesystem::path& modelDirectory) {
    const auto folder = modelDirectory / "en-us";
    return {folder / "en-us", folder / "en-us.lm.bin", folder / "cmudict-en-us.dict"};
}

bool PocketSphinxModel::isInstalled() const {
    std::error_code ignored; // a file that cannot be examined counts as missing
    const auto isFile = [&](const std::filesystem::path& path) {
        return std::filesystem::is_regular_file(path, ignored);
    };
    return isFile(languageModel) && isFile(dictionary) &&
           std::ranges::all_of(std::array{"feat.params", "mdef", "means", "noisedict", "sendump",
                                          "transition_matrices", "variances"},
                               [&](const char* name) { return isFile(acousticModel / name); });
}

PocketSphinxDecoder::PocketSphinxDecoder(const PocketSphinxModel& model) {
    // Its messages contain what was said. The file receives those that bypass the callback.
    err_set_callback(nullptr, nullptr);
    if (!model.isInstalled())
        throw PocketSphinxError("The speech model is not installed.");
    const std::unique_ptr<cmd_ln_t, ConfigurationDeleter> configuration(cmd_ln_init(
        nullptr, ps_args(), TRUE, "-hmm", model.acousticModel.c_str(), "-lm", model.languageModel.c_str(),
        "-dict", model.dictionary.c_str(), "-logfn", "/dev/null", nullptr));
    if (configuration)
        decoder_ = ps_init(configuration.get());
    if (!decoder_)
        throw PocketSphinxError("The speech model cannot be loaded.");
}

PocketSphinxDecoder::~PocketSphinxDecoder() {
    ps_free(decoder_);
}

std::string PocketSphinxDecoder::transcribe(std::span<const float> samples,
                                            const std::atomic<bool>& isCancelled) {
    auto input = integers(samples);
    auto features = featuresOf(input, isCancelled);
    explicit_bzero(input.data(), input.size() * sizeof(input[0]));
    adaptTo(features);

    std::string text;
    const auto append = [&text](const std::string& words) {
        if (!text.empty() && !words.empty())
            text += ' ';
        text += words;
    };

    ps_start_utt(decoder_);
    std::size_t utteranceSamples = 0;
    bool wasInSpeech = false;
    std::vector<mfcc_t*> rows;
    for (const auto& block : features.blocks) {
        if (isCancelled)
            break;
        rows.clear();
        for (std::size_t row = block.first; row < block.end; ++row)
            rows.push_back(features.values.data() + row * features.length);
        if (!rows.empty() &&
            ps_process_cep(decoder_, rows.data(), static_cast<int>(rows.size()), FALSE, FALSE) < 0)
            throw PocketSphinxError("The speech recogniser failed.");

        utteranceSamples += blockSamples;
        const bool isAtPause = wasInSpeech && !block.endsInSpeech && utteranceSamples >= samplesUntilPause;
        wasInSpeech = block.endsInSpeech;
        if (isAtPause || utteranceSamples >= samplesUntilCut) {
            append(endUtterance());
            ps_start_utt(decoder_);
            utteranceSamples = 0;
        }
    }
    append(endUtterance());
    return text;
}

PocketSphinxDecoder::Features PocketSphinxDecoder::featuresOf(std::span<const std::int16_t> samples,
                                                              const std::atomic<bool>& isCancelled) {
    Features features;
    FrontEnd frontEnd(ps_get_fe(decoder_));
    for (std::size_t start = 0; start < samples.size() && !isCancelled; start += blockSamples) {
        const auto first = frontEnd.count();
        frontEnd.process(samples.subspan(start, std::min(blockSamples, samples.size() - start)));
        features.blocks.push_back({first, frontEnd.count(), frontEnd.isInSpeech()});
    }
    const auto first = frontEnd.count();
    frontEnd.finish();
    features.blocks.push_back({first, frontEnd.count(), false});
    features.length = frontEnd.length();
    features.values = frontEnd.takeValues();
    return features;
}

/// Sets the mean that is subtracted from the recording's cepstrum to the recording's own mean. Otherwise the
/// library starts with the mean of earlier recordings and adapts only while it recognizes: the same file
/// would give different words at different times, and the first words from a new microphone would suffer.
void PocketSphinxDecoder::adaptTo(const Features& features) {
    std::vector<double> sum(features.length);
    std::size_t speechFrames = 0;
    for (std::size_t start = 0; start < features.values.size(); start += features.length) {
        // The library omits the same frames: those without energy.
        if (features.values[start] < 0)
            continue;
        ++speechFrames;
        for (std::size_t i = 0; i < features.length; ++i)
            sum[i] += features.values[start + i];
    }
    if (speechFrames == 0)
        return;
    std::vector<mfcc_t> mean(features.length);
    for (std::size_t i = 0; i < features.length; ++i)
        mean[i] = static_cast<mfcc_t>(sum[i] / static_cast<double>(speechFrames));
    cmn_live_set(ps_get_feat(decoder_)->cmn_struct, mean.data());
}

std::string PocketSphinxDecoder::endUtterance() {
    ps_end_utt(decoder_);
    const char* words = ps_get_hyp(decoder_, nullptr);
    return words ? words : "";
}

} // namespace sonvale::adapters::pocketsphinx
