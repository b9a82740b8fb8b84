#include "tests/contract/CompositorContract.h"
#include "tests/fakes/FakeCompositor.h"

namespace sonvale::tests {

namespace {

struct FakeSubject {
    platform::Compositor& compositor() { return fake; }
    void start() { fake.setRunning(true); }
    void stop() { fake.setRunning(false); }

    FakeCompositor fake;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, CompositorContract, FakeSubject);

} // namespace sonvale::tests
