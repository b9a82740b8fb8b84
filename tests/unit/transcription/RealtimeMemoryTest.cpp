#include "tests/unit/transcription/RealtimeFixture.h"

#include <cstdint>
#include <cstdio>
#include <fstream>

namespace sonvale::transcription {

namespace {

// Audio that differs from all other data in memory: each sample is three less than the previous one.
constexpr int firstSample = 30000;
constexpr int fall = 3;
constexpr std::size_t minRun = 64;

/// Returns the number of samples of such runs in a part of this process's memory.
__attribute__((no_sanitize("address", "thread", "undefined"))) std::size_t
fallingSamples(const std::int16_t* begin, const std::int16_t* end) {
    std::size_t found = 0;
    std::size_t run = 1;
    for (const auto* sample = begin + 1; sample < end; ++sample) {
        if (sample[-1] - sample[0] == fall) {
            ++run;
            continue;
        }
        found += run >= minRun ? run : 0;
        run = 1;
    }
    return found + (run >= minRun ? run : 0);
}

/// Returns the number of samples of such runs in all memory that this process may write.
std::size_t fallingSamplesInMemory() {
    constexpr std::uintptr_t sanitizersOwn = 1ULL << 32U;
    std::size_t found = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char mode[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, mode) != 3 || mode[0] != 'r' ||
            mode[1] != 'w' || end - begin > sanitizersOwn)
            continue;
        // NOLINTBEGIN(performance-no-int-to-ptr): the file contains the addresses as text
        found += fallingSamples(reinterpret_cast<const std::int16_t*>(begin),
                                reinterpret_cast<const std::int16_t*>(end));
        // NOLINTEND(performance-no-int-to-ptr)
    }
    return found;
}

class RealtimeMemory : public RealtimeFixture {
protected:
    /// Appends twenty buffers of a thousand samples in the target format.
    void speak() {
        int next = firstSample;
        for (int piece = 0; piece < 20; ++piece) {
            platform::PcmBuffer buffer(format, 1000);
            for (auto& sample : buffer.channel(0)) {
                sample = static_cast<float>(next) / 32767.0F;
                next -= fall;
            }
            engine_->appendAudio(buffer);
        }
    }
};

} // namespace

TEST_F(RealtimeMemory, HoldsOneCopyOfTheAudioAndNoneAfterTheSession) {
    ASSERT_EQ(fallingSamplesInMemory(), 0U);
    speak();
    EXPECT_EQ(fallingSamplesInMemory(), 20000U) << "growing left a copy of the audio";
    engine_->cancelSession();
    EXPECT_EQ(fallingSamplesInMemory(), 0U);
}

TEST_F(RealtimeMemory, HoldsNoSentOrDroppedAudio) {
    start();
    speak();
    run();
    EXPECT_EQ(fallingSamplesInMemory(), 2000U) << "these do not fill a frame yet";
    finalize();
    complete("sent");
    EXPECT_EQ(fallingSamplesInMemory(), 0U);
    speak();
    engine_->resetForNextUtterance();
    run();
    EXPECT_EQ(fallingSamplesInMemory(), 0U);
}

TEST_F(RealtimeMemory, HoldsNoAudioAfterTheEngineIsDestroyed) {
    speak();
    EXPECT_EQ(fallingSamplesInMemory(), 20000U);
    const std::weak_ptr<RealtimeTranscriptionEngine> watched = engine_;
    engine_.reset();
    run();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(fallingSamplesInMemory(), 0U);
}

} // namespace sonvale::transcription
