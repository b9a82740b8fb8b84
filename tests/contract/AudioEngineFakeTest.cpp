#include "tests/contract/AudioEngineContract.h"
#include "tests/fakes/FakeAudioEngine.h"

namespace sonvale::tests {

namespace {

class FakeRig {
public:
    static constexpr bool hasADelay = false;
    explicit FakeRig(int channels) {
        engines_.control().setFormat({48000, static_cast<std::uint32_t>(channels)});
    }
    platform::AudioEngines& engines() { return engines_; }
    void speak(const std::vector<float>& samples) { engines_.control().speak(samples); }
    void unplug() { engines_.control().unplug(); }

private:
    FakeAudioEngines engines_;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, AudioEngineContract, FakeRig);

} // namespace sonvale::tests
