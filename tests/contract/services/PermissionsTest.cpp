#include "adapters/pulse/PulseCaptureAuthorization.h"
#include "adapters/x11/X11AccessibilityTree.h"
#include "adapters/x11/X11Workspace.h"
#include "adapters/x11/keys/X11EventTap.h"

#include "runtime/SystemClock.h"
#include "runtime/TaskPool.h"
#include "services/PermissionsManager.h"
#include "tests/contract/freedesktop/ScriptedPrograms.h"
#include "tests/fakes/FakeSpeechRecognizers.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/PrivateSound.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

namespace {

using services::PermissionsManager;

/// The manager with the system's real permissions, real threads and real time.
class Permissions : public testing::Test {
protected:
    Permissions() {
        onMain([this] {
            manager_ = std::make_shared<PermissionsManager>(PermissionsManager::Parts{
                .main = main_,
                .pool = pool_.actor(),
                .clock = clock_,
                .captureAuthorization = capture_,
                .accessibilityTree = accessibility_,
                .eventTap = eventTap_,
                .speechRecognizers = speech_,
                .workspace = workspace_,
                .requestSpeechAuthorization = {},
            });
            manager_->onPermissionGranted = [this] { ++reports_; };
        });
    }
    ~Permissions() override {
        onMain([this] { manager_.reset(); });
        registry_->cancelAll();
        EXPECT_TRUE(registry_->waitUntilEmpty(30)) << "a task did not end";
        pool_.join();
    }

    void onMain(std::function<void()> work) {
        std::promise<void> done;
        main_.post([&] {
            work();
            done.set_value();
        });
        done.get_future().wait();
    }
    bool isMicrophoneGranted() {
        bool isGranted = false;
        onMain([&] { isGranted = *manager_->microphoneGranted; });
        return isGranted;
    }

    PrivateSound sound_{PrivateSound::Microphone::absent};
    ScriptedPrograms programs_;
    std::atomic<int> reports_ = 0;
    std::shared_ptr<PermissionsManager> manager_; ///< used on the main actor

private:
    PrivateDisplay display_;
    runtime::SystemClock clock_;
    adapters::pulse::PulseCaptureAuthorization capture_{sound_.serverAddress()};
    adapters::x11::X11AccessibilityTree accessibility_{clock_, display_.name()};
    adapters::x11::X11EventTap eventTap_{clock_, std::make_shared<adapters::x11::SyntheticKeyLedger>(),
                                         display_.name()};
    FakeSpeechRecognizers speech_;
    adapters::x11::X11Workspace workspace_{clock_, display_.name(), {"XFCE", programs_.path()}};

    const std::shared_ptr<runtime::TaskRegistry> registry_ = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool_{2, registry_};
    const runtime::Actor main_ = pool_.makeSerialActor("main");
};

} // namespace

TEST_F(Permissions, NoticeANewMicrophone) {
    programs_.install("pavucontrol");
    onMain([this] { manager_->requestMicrophoneWithPolling(); });
    EXPECT_TRUE(eventually(
        10, [this] { return programs_.calls() == std::vector<std::string>{"pavucontrol --tab=4"}; }));
    EXPECT_FALSE(isMicrophoneGranted());
    pauseMilliseconds(1500);
    EXPECT_EQ(reports_, 0);

    sound_.addMicrophone();
    const double start = monotonicSeconds();
    EXPECT_TRUE(eventually(10, [this] { return reports_ == 1; }));
    EXPECT_LT(monotonicSeconds() - start, 5);
    EXPECT_TRUE(isMicrophoneGranted());
    pauseMilliseconds(1500);
    EXPECT_EQ(reports_, 1);
}

TEST_F(Permissions, DoNotBlockTheMainActorWhileTheSoundServerHangs) {
    programs_.install("pavucontrol");
    onMain([this] { manager_->requestMicrophoneWithPolling(); });
    ASSERT_TRUE(eventually(10, [this] { return !programs_.calls().empty(); }));
    sound_.server().signal(SIGSTOP);
    double maxSeconds = 0;
    for (const double end = monotonicSeconds() + 3; monotonicSeconds() < end;) {
        const double start = monotonicSeconds();
        onMain([] {});
        maxSeconds = std::max(maxSeconds, monotonicSeconds() - start);
        pauseMilliseconds(5);
    }
    sound_.server().signal(SIGCONT);
    EXPECT_LT(maxSeconds, 0.5);
}

TEST_F(Permissions, AreGrantedInAnXSession) {
    onMain([this] {
        manager_->requestAccessibilityPrompt();
        EXPECT_TRUE(*manager_->accessibilityGranted);
        manager_->pollInputMonitoring();
        EXPECT_TRUE(*manager_->inputMonitoringGranted);
    });
    EXPECT_EQ(reports_, 1);
    onMain([this] {
        manager_->inputMonitoringGranted = false;
        manager_->openInputMonitoringAndPoll();
    });
    EXPECT_TRUE(eventually(10, [this] { return reports_ == 2; }));
    onMain([this] { EXPECT_TRUE(*manager_->inputMonitoringGranted); });
}

} // namespace sonvale::tests
