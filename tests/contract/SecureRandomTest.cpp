#include "adapters/posix/LinuxSecureRandom.h"

#include "tests/contract/SecureRandomContract.h"
#include "tests/fakes/FakeSecureRandom.h"

namespace sonvale::tests {

using SecureRandomSources = testing::Types<FakeSecureRandom, adapters::posix::LinuxSecureRandom>;
INSTANTIATE_TYPED_TEST_SUITE_P(Sources, SecureRandomContract, SecureRandomSources);

} // namespace sonvale::tests
