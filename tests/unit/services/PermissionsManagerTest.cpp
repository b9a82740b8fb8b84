#include "services/PermissionsManager.h"

#include "base/Log.h"
#include "tests/fakes/FakeCaptureAuthorization.h"
#include "tests/fakes/FakeEventTap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sonvale::services {

namespace {

class SettableAccessibility final : public platform::AccessibilityTree {
public:
    bool isTrusted() override { return answer; }
    std::optional<std::string> selectedText() override { return std::nullopt; }

    bool answer = false;
};

class SettableSpeech final : public platform::SpeechRecognizers {
public:
    platform::SpeechAuthorization authorizationStatus() override { return answer; }
    void requestAuthorization(std::function<void(platform::SpeechAuthorization)> respond) override {
        respond(answer);
    }
    std::shared_ptr<platform::SpeechRecognizer> make(const std::string& /*localeIdentifier*/) override {
        return nullptr;
    }

    platform::SpeechAuthorization answer = platform::SpeechAuthorization::notDetermined;
};

class PermissionsManagerTest : public testing::Test {
public:
    ~PermissionsManagerTest() override { base::setLogSinks(formerSinks_); }

protected:
    PermissionsManagerTest() {
        base::LogSinks sinks;
        sinks.system = [this](std::string_view line) { lines.emplace_back(line); };
        formerSinks_ = base::setLogSinks(std::move(sinks));
        capture.status = platform::CaptureStatus::notDetermined;
        tap.control().setPermitted(false);
    }
    tests::FakeCaptureAuthorization captureAuthorization;
    tests::FakeCaptureAuthorization::Control& capture = captureAuthorization.control();
    SettableAccessibility accessibility;
    tests::FakeEventTap tap;
    SettableSpeech speech;
    PermissionsManager manager{captureAuthorization, accessibility, tap, speech};
    std::vector<std::string> lines;

private:
    base::LogSinks formerSinks_;
};

} // namespace

TEST_F(PermissionsManagerTest, HasNothingGrantedBeforeItsChecks) {
    EXPECT_FALSE(*manager.microphoneGranted);
    EXPECT_FALSE(*manager.accessibilityGranted);
    EXPECT_FALSE(*manager.inputMonitoringGranted);
    EXPECT_FALSE(*manager.speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, ReadsAllFourInTheirOrderAndLogsTheRefusals) {
    manager.refresh();
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "checkMicrophone() — AVCaptureDevice status: 0, AVAudioApplication recordPermission: 0",
                  "checkAccessibility() — false",
                  "checkInputMonitoring() — false",
                  "checkSpeechRecognition() — false",
              }));
    EXPECT_FALSE(*manager.microphoneGranted);
    EXPECT_FALSE(*manager.accessibilityGranted);
    EXPECT_FALSE(*manager.inputMonitoringGranted);
    EXPECT_FALSE(*manager.speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, ReadsAllFourInTheirOrderAndLogsTheGrants) {
    capture.status = platform::CaptureStatus::authorized;
    accessibility.answer = true;
    tap.control().setPermitted(true);
    speech.answer = platform::SpeechAuthorization::authorized;
    manager.refresh();
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "checkMicrophone() — AVCaptureDevice status: 3, AVAudioApplication recordPermission: 3",
                  "checkAccessibility() — true",
                  "checkInputMonitoring() — true",
                  "checkSpeechRecognition() — true",
              }));
    EXPECT_TRUE(*manager.microphoneGranted);
    EXPECT_TRUE(*manager.accessibilityGranted);
    EXPECT_TRUE(*manager.inputMonitoringGranted);
    EXPECT_TRUE(*manager.speechRecognitionGranted);
}

TEST_F(PermissionsManagerTest, TakesOnlyTheAuthorisedStatusForAGrant) {
    using platform::CaptureStatus;
    using platform::SpeechAuthorization;
    for (const auto status :
         {CaptureStatus::notDetermined, CaptureStatus::restricted, CaptureStatus::denied}) {
        manager.microphoneGranted = true;
        capture.status = status;
        manager.checkMicrophone();
        EXPECT_FALSE(*manager.microphoneGranted);
    }
    for (const auto status :
         {SpeechAuthorization::notDetermined, SpeechAuthorization::restricted, SpeechAuthorization::denied}) {
        manager.speechRecognitionGranted = true;
        speech.answer = status;
        manager.checkSpeechRecognition();
        EXPECT_FALSE(*manager.speechRecognitionGranted);
    }
}

TEST_F(PermissionsManagerTest, TellsItsObserversOfChangesOnly) {
    int heard = 0;
    const auto subscription = manager.accessibilityGranted.subscribe([&](bool) { ++heard; });
    manager.checkAccessibility();
    EXPECT_EQ(heard, 0);
    accessibility.answer = true;
    manager.checkAccessibility();
    manager.checkAccessibility();
    EXPECT_EQ(heard, 1);
}

TEST_F(PermissionsManagerTest, NoticesAGrantThatIsTakenBack) {
    accessibility.answer = true;
    manager.checkAccessibility();
    accessibility.answer = false;
    manager.checkAccessibility();
    EXPECT_FALSE(*manager.accessibilityGranted);
}

TEST_F(PermissionsManagerTest, DoesNotTakeACheckForAnAnswerOfTheUser) {
    int told = 0;
    manager.onPermissionGranted = [&] { ++told; };
    capture.status = platform::CaptureStatus::authorized;
    accessibility.answer = true;
    manager.refresh();
    EXPECT_EQ(told, 0);
}

} // namespace sonvale::services
