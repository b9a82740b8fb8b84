#include "platform/linux/PocketSphinxDecoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

extern "C" {
#include <pocketsphinx.h>
#include <sphinxbase/err.h>
}

namespace sonvale::platform::linux {

namespace {

constexpr std::size_t blockSamples = 2048;

/// The last pass over an utterance cannot be interrupted and takes some hundredths of its length. From the
/// first length on an utterance ends at the speaker's next pause, at the second one it is cut.
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

} // namespace

PocketSphinxModel PocketSphinxModel::english(const std::filesystem::path& modelDirectory) {
    const auto folder = modelDirectory / "en-us";
    return {folder / "en-us", folder / "en-us.lm.bin", folder / "cmudict-en-us.dict"};
}

bool PocketSphinxModel::isInstalled() const {
    std::error_code ignored; // a file that cannot be looked at counts as missing
    const auto isFile = [&](const std::filesystem::path& path) {
        return std::filesystem::is_regular_file(path, ignored);
    };
    return isFile(languageModel) && isFile(dictionary) &&
           std::ranges::all_of(std::array{"feat.params", "mdef", "means", "noisedict", "sendump",
                                          "transition_matrices", "variances"},
                               [&](const char* name) { return isFile(acousticModel / name); });
}

PocketSphinxDecoder::PocketSphinxDecoder(const PocketSphinxModel& model) {
    // Its messages hold what was said. The file is for those that it writes past the callback.
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
    adaptTo(input, isCancelled);

    std::string text;
    const auto append = [&text](const std::string& words) {
        if (!text.empty() && !words.empty())
            text += ' ';
        text += words;
    };

    // Forgets the noise that earlier recordings had.
    ps_start_stream(decoder_);
    ps_start_utt(decoder_);
    std::size_t utteranceSamples = 0;
    bool wasInSpeech = false;
    for (std::size_t start = 0; start < input.size() && !isCancelled; start += blockSamples) {
        const auto count = std::min(blockSamples, input.size() - start);
        if (ps_process_raw(decoder_, input.data() + start, count, FALSE, FALSE) < 0)
            throw PocketSphinxError("The speech recogniser failed.");

        utteranceSamples += count;
        const bool isInSpeech = ps_get_in_speech(decoder_) != 0;
        const bool isAtPause = wasInSpeech && !isInSpeech && utteranceSamples >= samplesUntilPause;
        wasInSpeech = isInSpeech;
        if (isAtPause || utteranceSamples >= samplesUntilCut) {
            append(endUtterance());
            ps_start_utt(decoder_);
            utteranceSamples = 0;
        }
    }
    append(endUtterance());
    explicit_bzero(input.data(), input.size() * sizeof(input[0]));
    return text;
}

/// Sets the mean that is taken out of the recording's cepstrum to the recording's own. Left alone, the
/// library starts from the mean of what was recorded before, and adapts only while it recognises: the same
/// file would give different words at different times, and the first words of a new microphone would suffer.
void PocketSphinxDecoder::adaptTo(std::span<const std::int16_t> samples,
                                  const std::atomic<bool>& isCancelled) {
    constexpr std::size_t rows = 512;
    fe_t* frontEnd = ps_get_fe(decoder_);
    const auto length = static_cast<std::size_t>(fe_get_output_size(frontEnd));
    std::vector<mfcc_t> values(rows * length);
    std::array<mfcc_t*, rows> cepstra{};
    for (std::size_t row = 0; row < rows; ++row)
        cepstra[row] = values.data() + row * length;

    std::vector<double> sum(length);
    std::size_t speechFrames = 0;
    const auto add = [&](int32 count) {
        for (std::size_t row = 0; row < static_cast<std::size_t>(std::max(count, 0)); ++row) {
            // The library leaves out the same frames: those without energy.
            if (cepstra[row][0] < 0)
                continue;
            ++speechFrames;
            for (std::size_t i = 0; i < length; ++i)
                sum[i] += cepstra[row][i];
        }
    };

    fe_start_stream(frontEnd);
    fe_start_utt(frontEnd);
    const int16* next = samples.data();
    std::size_t left = samples.size();
    while (left > 0 && !isCancelled) {
        const auto before = left;
        int32 count = rows;
        fe_process_frames(frontEnd, &next, &left, cepstra.data(), &count, nullptr);
        add(count);
        if (count <= 0 && left == before)
            break;
    }
    int32 count = 0;
    fe_end_utt(frontEnd, cepstra[0], &count);
    add(count);

    if (speechFrames == 0)
        return;
    std::vector<mfcc_t> mean(length);
    for (std::size_t i = 0; i < length; ++i)
        mean[i] = static_cast<mfcc_t>(sum[i] / static_cast<double>(speechFrames));
    cmn_live_set(ps_get_feat(decoder_)->cmn_struct, mean.data());
}

std::string PocketSphinxDecoder::endUtterance() {
    ps_end_utt(decoder_);
    const char* words = ps_get_hyp(decoder_, nullptr);
    return words ? words : "";
}

} // namespace sonvale::platform::linux
