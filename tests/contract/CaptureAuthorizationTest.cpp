#include "adapters/pulse/PulseCaptureAuthorization.h"

#include "tests/fakes/FakeCaptureAuthorization.h"
#include "tests/support/PrivateSound.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

namespace sonvale::tests {

using adapters::pulse::PulseCaptureAuthorization;
using platform::CaptureStatus;
using platform::RecordPermission;

namespace {

int freePort() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    const bool isBound = bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                         getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(probe);
    if (!isBound)
        throw std::runtime_error("no free port");
    return ntohs(address.sin_port);
}

class FakeRig {
public:
    platform::CaptureAuthorization& authorization() { return fake_; }
    void plugIn() { fake_.control().setStatus(CaptureStatus::authorized); }
    void unplug() { fake_.control().setStatus(CaptureStatus::notDetermined); }
    void refuse() { fake_.control().setStatus(CaptureStatus::denied); }

    FakeRig() { unplug(); }

private:
    FakeCaptureAuthorization fake_;
};

class PulseRig {
public:
    platform::CaptureAuthorization& authorization() { return *authorization_; }
    void plugIn() { sound_.addMicrophone(); }
    void unplug() { sound_.removeMicrophone(); }

    /// Uses an address of the same server that requires a secret which this program does not have.
    void refuse() {
        const auto port = std::to_string(freePort());
        sound_.control({"load-module", "module-native-protocol-tcp", "listen=127.0.0.1", "port=" + port,
                        "auth-cookie=" + sound_.directory() + "/secret"});
        authorization_ = std::make_unique<PulseCaptureAuthorization>("tcp:127.0.0.1:" + port);
    }

private:
    PrivateSound sound_{PrivateSound::Microphone::absent};
    std::unique_ptr<PulseCaptureAuthorization> authorization_ =
        std::make_unique<PulseCaptureAuthorization>(sound_.serverAddress());
};

} // namespace

template <class Rig>
class CaptureAuthorizationContract : public testing::Test {};

using Rigs = testing::Types<FakeRig, PulseRig>;
TYPED_TEST_SUITE(CaptureAuthorizationContract, Rigs);

TYPED_TEST(CaptureAuthorizationContract, FollowsTheMicrophone) {
    TypeParam rig;
    rig.plugIn();
    EXPECT_EQ(rig.authorization().status(), CaptureStatus::authorized);
    rig.unplug();
    EXPECT_EQ(rig.authorization().status(), CaptureStatus::notDetermined);
    rig.plugIn();
    EXPECT_EQ(rig.authorization().status(), CaptureStatus::authorized);
}

TYPED_TEST(CaptureAuthorizationContract, IsDeniedByAServerThatRefuses) {
    TypeParam rig;
    rig.plugIn();
    rig.refuse();
    EXPECT_EQ(rig.authorization().status(), CaptureStatus::denied);
}

TYPED_TEST(CaptureAuthorizationContract, AnswersARequestOnceWithThePresentStatus) {
    TypeParam rig;
    std::vector<bool> answers;
    const auto request = [&] {
        rig.authorization().requestRecordPermission([&](bool isGranted) { answers.push_back(isGranted); });
    };
    request();
    rig.plugIn();
    request();
    rig.refuse();
    request();
    EXPECT_EQ(answers, (std::vector<bool>{false, true, false}));
}

TYPED_TEST(CaptureAuthorizationContract, HasNoSecondRecordByItself) {
    TypeParam rig;
    EXPECT_EQ(rig.authorization().recordPermission(), RecordPermission::undetermined);
    rig.plugIn();
    rig.authorization().requestRecordPermission([](bool) {});
    EXPECT_EQ(rig.authorization().recordPermission(), RecordPermission::undetermined);
    rig.refuse();
    EXPECT_EQ(rig.authorization().recordPermission(), RecordPermission::undetermined);
}

TYPED_TEST(CaptureAuthorizationContract, AnswersOnSeveralThreads) {
    TypeParam rig;
    rig.plugIn();
    std::atomic<int> authorized = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 5; ++j)
                authorized += rig.authorization().status() == CaptureStatus::authorized ? 1 : 0;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(authorized, 20);
}

TEST(PulseCaptureAuthorization, IsNotDeterminedWithoutAServer) {
    PulseCaptureAuthorization authorization("unix:/nonexistent/native");
    EXPECT_EQ(authorization.status(), CaptureStatus::notDetermined);
}

TEST(PulseCaptureAuthorization, GivesUpOnAFrozenServerAfterTwoSeconds) {
    PrivateSound sound;
    PulseCaptureAuthorization authorization(sound.serverAddress());
    sound.server().signal(SIGSTOP);
    const double start = monotonicSeconds();
    EXPECT_EQ(authorization.status(), CaptureStatus::notDetermined);
    EXPECT_LT(monotonicSeconds() - start, 10);
    sound.server().signal(SIGCONT);
}

} // namespace sonvale::tests
