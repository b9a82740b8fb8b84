#include "tests/contract/FloatingPanelContract.h"
#include "tests/fakes/FakeFloatingPanel.h"

namespace sonvale::tests {

namespace {

struct FakeSubject {
    platform::FloatingPanel& panel() { return fake; }
    const auto& shown() const { return fake.shown(); }

    FakeFloatingPanel fake;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, FloatingPanelContract, FakeSubject);

} // namespace sonvale::tests
