#include "tests/contract/TrayHostContract.h"
#include "tests/fakes/FakeTrayHost.h"

#include <functional>

namespace sonvale::tests {

namespace {

struct FakeSubject {
    platform::TrayHost& host() { return fake; }
    void showPanel() { fake.control().showPanel(); }
    void endGrace() { fake.control().endGrace(); }
    bool becomes(const std::function<bool()>& condition) {
        settle();
        return condition();
    }
    void settle() { fake.control().run(); }

    FakeTrayHost fake;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, TrayHostContract, FakeSubject);

} // namespace sonvale::tests
