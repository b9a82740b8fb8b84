#include "services/PermissionsManager.h"

#include "base/Log.h"

#include <fmt/format.h>

#include <utility>

namespace sonvale::services {

using platform::CaptureStatus;
using platform::SpeechAuthorization;

namespace {

// The user has one minute after the request to change the setting.
constexpr int maxChecks = 60;
constexpr double checkPeriod = 1.0;

void reportPermission(const PermissionsManager& manager) {
    // A copy, because the callback may destroy the manager.
    if (const auto report = manager.onPermissionGranted)
        report();
}

runtime::Task<MicrophoneState> readMicrophone(platform::CaptureAuthorization* authorization) {
    co_return MicrophoneState::read(*authorization);
}

runtime::Task<bool> probe(platform::EventTap* eventTap) {
    co_return eventTap->probe();
}

runtime::Task<bool> accessibilityCheck(std::weak_ptr<PermissionsManager> weakManager) {
    const auto manager = weakManager.lock();
    if (!manager)
        co_return false;
    manager->checkAccessibility();
    co_return *manager->accessibilityGranted;
}

runtime::Task<bool> speechRecognitionCheck(std::weak_ptr<PermissionsManager> weakManager) {
    const auto manager = weakManager.lock();
    if (!manager)
        co_return false;
    manager->checkSpeechRecognition();
    co_return *manager->speechRecognitionGranted;
}

runtime::Task<> poll(std::weak_ptr<PermissionsManager> weakManager, runtime::Clock* clock,
                     runtime::Task<bool> (*check)(std::weak_ptr<PermissionsManager>)) {
    for (int count = 0; count < maxChecks; ++count) {
        if (co_await runtime::sleep(*clock, checkPeriod) == runtime::SleepOutcome::interrupted)
            co_return;
        // The sleep may already have ended before the cancellation.
        if (co_await runtime::isCurrentTaskCancelled())
            co_return;
        if (!co_await check(weakManager))
            continue;
        if (const auto manager = weakManager.lock())
            reportPermission(*manager);
        co_return;
    }
}

} // namespace

PermissionsManager::PermissionsManager(Parts parts)
    : parts_(std::move(parts)) {}

PermissionsManager::~PermissionsManager() {
    pollTask_.cancel();
}

void PermissionsManager::checkMicrophone() {
    setMicrophone(MicrophoneState::read(parts_.captureAuthorization));
}

void PermissionsManager::checkAccessibility() {
    const auto isGranted = parts_.accessibilityTree.isTrusted();
    base::systemLog(fmt::format("checkAccessibility() — {}", isGranted));
    accessibilityGranted = isGranted;
}

void PermissionsManager::checkInputMonitoring() {
    setInputMonitoring(parts_.eventTap.probe());
}

void PermissionsManager::checkSpeechRecognition() {
    const auto isGranted = parts_.speechRecognizers.authorizationStatus() == SpeechAuthorization::authorized;
    base::systemLog(fmt::format("checkSpeechRecognition() — {}", isGranted));
    speechRecognitionGranted = isGranted;
}

void PermissionsManager::refresh() {
    checkMicrophone();
    checkAccessibility();
    checkInputMonitoring();
    checkSpeechRecognition();
}

void PermissionsManager::checkMicrophoneLater() {
    readMicrophoneLater(
        [](PermissionsManager& self, MicrophoneState microphone) { self.setMicrophone(microphone); });
}

void PermissionsManager::refreshLater() {
    readMicrophoneLater([](PermissionsManager& self, MicrophoneState microphone) {
        self.setMicrophone(microphone);
        self.checkAccessibility();
        self.checkInputMonitoring();
        self.checkSpeechRecognition();
    });
}

void PermissionsManager::readMicrophoneLater(
    std::function<void(PermissionsManager&, MicrophoneState)> receive) {
    tasks_.setOwner(weak_from_this());
    // A sound server that hangs would block the main actor for 2 s.
    tasks_.deliver(*this, runtime::runOn(parts_.pool, readMicrophone(&parts_.captureAuthorization)),
                   std::move(receive));
}

void PermissionsManager::requestMicrophoneWithPolling() {
    parts_.main.assertCurrent();
    if (std::exchange(isRequestingMicrophone_, true))
        return;
    readMicrophoneLater([](PermissionsManager& self, MicrophoneState microphone) {
        self.isRequestingMicrophone_ = false;
        self.askForMicrophone(microphone.status);
    });
}

void PermissionsManager::askForMicrophone(CaptureStatus status) {
    base::systemLog(fmt::format("requestMicrophoneWithPolling() — status: {} (0=notDetermined, 1=restricted, "
                                "2=denied, 3=authorized)",
                                static_cast<int>(status)));
    switch (status) {
    case CaptureStatus::notDetermined:
        // On Linux the request asks the sound server again.
        parts_.pool.post(
            [authorization = &parts_.captureAuthorization, weak = weak_from_this(), main = parts_.main] {
                authorization->requestRecordPermission([weak, main](bool isGranted) {
                    main.post([weak, isGranted] {
                        if (const auto self = weak.lock())
                            self->setMicrophoneAnswer(isGranted);
                    });
                });
            });
        break;
    case CaptureStatus::authorized:
        microphoneGranted = true;
        reportPermission(*this);
        break;
    case CaptureStatus::restricted:
    case CaptureStatus::denied:
        openMicrophonePageAndPoll();
        break;
    }
}

void PermissionsManager::requestSpeechRecognitionWithPolling() {
    parts_.main.assertCurrent();
    if (parts_.speechRecognizers.authorizationStatus() == SpeechAuthorization::notDetermined) {
        tasks_.setOwner(weak_from_this());
        tasks_.deliver<PermissionsManager, SpeechAuthorization>(
            *this, parts_.requestSpeechAuthorization(),
            [](PermissionsManager& self, SpeechAuthorization answer) {
                self.speechRecognitionGranted = answer == SpeechAuthorization::authorized;
                if (*self.speechRecognitionGranted)
                    reportPermission(self);
            });
        return;
    }
    parts_.workspace.openURL(platform::settings_page::speechRecognition);
    startPolling(speechRecognitionCheck);
}

void PermissionsManager::requestAccessibilityPrompt() {
    accessibilityGranted = parts_.accessibilityTree.isTrustedWithPrompt();
}

void PermissionsManager::pollAccessibility() {
    checkAccessibility();
    if (*accessibilityGranted)
        reportPermission(*this);
    else
        startPolling(accessibilityCheck);
}

void PermissionsManager::pollInputMonitoring() {
    checkInputMonitoring();
    if (*inputMonitoringGranted)
        reportPermission(*this);
    else
        startPolling(inputMonitoringCheck);
}

void PermissionsManager::openInputMonitoringAndPoll() {
    // The result does not matter: the page lists only programs that have tried to listen.
    parts_.eventTap.probe();
    parts_.workspace.openURL(platform::settings_page::inputMonitoring);
    startPolling(inputMonitoringCheck);
}

void PermissionsManager::startPolling(Check check) {
    parts_.main.assertCurrent();
    pollTask_.cancel();
    pollTask_ = runtime::spawn(parts_.main, poll(weak_from_this(), &parts_.clock, check));
}

void PermissionsManager::openMicrophonePageAndPoll() {
    parts_.workspace.openURL(platform::settings_page::microphone);
    startPolling(microphoneCheck);
}

void PermissionsManager::setMicrophoneAnswer(bool isGranted) {
    base::systemLog(fmt::format("AVAudioApplication.requestRecordPermission result: {}", isGranted));
    microphoneGranted = isGranted;
    if (isGranted)
        reportPermission(*this);
    else
        openMicrophonePageAndPoll();
}

void PermissionsManager::setMicrophone(const MicrophoneState& microphone) {
    base::systemLog(fmt::format("checkMicrophone() — AVCaptureDevice status: {}, AVAudioApplication "
                                "recordPermission: {}",
                                static_cast<int>(microphone.status),
                                static_cast<std::uint32_t>(microphone.recordPermission)));
    microphoneGranted = microphone.isGranted();
}

void PermissionsManager::setInputMonitoring(bool isGranted) {
    base::systemLog(fmt::format("checkInputMonitoring() — {}", isGranted));
    inputMonitoringGranted = isGranted;
}

runtime::Task<bool> PermissionsManager::microphoneCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    auto self = weakSelf.lock();
    if (!self)
        co_return false;
    const auto pool = self->parts_.pool;
    auto reading = readMicrophone(&self->parts_.captureAuthorization);
    self.reset();
    const auto microphone = co_await runtime::runOn(pool, std::move(reading));

    self = weakSelf.lock();
    if (!self)
        co_return false;
    self->setMicrophone(microphone);
    co_return *self->microphoneGranted;
}

runtime::Task<bool> PermissionsManager::inputMonitoringCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    auto self = weakSelf.lock();
    if (!self)
        co_return false;
    // The probe connects to the window server.
    const auto pool = self->parts_.pool;
    auto probing = probe(&self->parts_.eventTap);
    self.reset();
    const bool isGranted = co_await runtime::runOn(pool, std::move(probing));

    self = weakSelf.lock();
    if (!self)
        co_return false;
    self->setInputMonitoring(isGranted);
    co_return *self->inputMonitoringGranted;
}

} // namespace sonvale::services
