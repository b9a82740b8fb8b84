#include "tests/contract/ApplicationContract.h"
#include "tests/fakes/FakeApplication.h"

namespace sonvale::tests {

namespace {

struct FakeSubject {
    platform::Application& application() { return fake; }
    int openWindow() { return ++windows; }
    /// The fake has one policy for all of its windows.
    bool becomesListed(int, bool isListed) const {
        return (fake.policy() == platform::ActivationPolicy::regular) == isListed;
    }
    bool ends() const { return fake.isTerminated(); }

    FakeApplication fake;
    int windows = 0;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, ApplicationContract, FakeSubject);

} // namespace sonvale::tests
