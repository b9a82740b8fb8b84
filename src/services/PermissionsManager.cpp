#include "services/PermissionsManager.h"

#include "base/Log.h"

#include <fmt/format.h>

#include <utility>

namespace sonvale::services {

using platform::CaptureStatus;
using platform::RecordPermission;
using platform::SpeechAuthorization;

namespace {

// The user has a minute from the request to flip the switch.
constexpr int mostChecks = 60;
constexpr double checkPeriod = 1.0;

} // namespace

PermissionsManager::PermissionsManager(Parts parts)
    : parts_(std::move(parts)) {}

PermissionsManager::~PermissionsManager() {
    pollTask_.cancel();
}

void PermissionsManager::checkMicrophone() {
    take(read(parts_.captureAuthorization));
}

void PermissionsManager::checkAccessibility() {
    const auto isGranted = parts_.accessibilityTree.isTrusted();
    base::systemLog(fmt::format("checkAccessibility() — {}", isGranted));
    accessibilityGranted = isGranted;
}

void PermissionsManager::checkInputMonitoring() {
    takeInputMonitoring(parts_.eventTap.probe());
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
    runtime::spawn(parts_.main, checkLater(weak_from_this(), Checks::microphone));
}

void PermissionsManager::refreshLater() {
    runtime::spawn(parts_.main, checkLater(weak_from_this(), Checks::all));
}

runtime::Task<> PermissionsManager::checkLater(std::weak_ptr<PermissionsManager> weakSelf, Checks checks) {
    const auto microphone = co_await readMicrophone(weakSelf);
    const auto self = weakSelf.lock();
    if (!microphone || !self)
        co_return;
    self->take(*microphone);
    if (checks == Checks::microphone)
        co_return;
    self->checkAccessibility();
    self->checkInputMonitoring();
    self->checkSpeechRecognition();
}

void PermissionsManager::requestMicrophoneWithPolling() {
    parts_.main.assertCurrent();
    if (std::exchange(isRequestingMicrophone_, true))
        return;
    runtime::spawn(parts_.main, requestMicrophone(weak_from_this()));
}

runtime::Task<> PermissionsManager::requestMicrophone(std::weak_ptr<PermissionsManager> weakSelf) {
    const auto microphone = co_await readMicrophone(weakSelf);
    const auto self = weakSelf.lock();
    if (!microphone || !self)
        co_return;
    self->isRequestingMicrophone_ = false;
    self->askForMicrophone(microphone->status);
}

void PermissionsManager::askForMicrophone(CaptureStatus status) {
    base::systemLog(fmt::format("requestMicrophoneWithPolling() — status: {} (0=notDetermined, 1=restricted, "
                                "2=denied, 3=authorized)",
                                static_cast<int>(status)));
    switch (status) {
    case CaptureStatus::notDetermined:
        // On Linux the request asks the sound server once more.
        parts_.pool.post(
            [authorization = &parts_.captureAuthorization, weak = weak_from_this(), main = parts_.main] {
                authorization->requestRecordPermission([weak, main](bool isGranted) {
                    main.post([weak, isGranted] {
                        if (const auto self = weak.lock())
                            self->takeAnswer(isGranted);
                    });
                });
            });
        break;
    case CaptureStatus::authorized:
        microphoneGranted = true;
        reportGrant();
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
        runtime::spawn(parts_.main, requestSpeech(weak_from_this(), parts_.requestSpeechAuthorization));
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
        reportGrant();
    else
        startPolling(accessibilityCheck);
}

void PermissionsManager::pollInputMonitoring() {
    checkInputMonitoring();
    if (*inputMonitoringGranted)
        reportGrant();
    else
        startPolling(inputMonitoringCheck);
}

void PermissionsManager::openInputMonitoringAndPoll() {
    // The answer does not matter: only who has tried to listen is listed on the page.
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

void PermissionsManager::takeAnswer(bool isMicrophoneGranted) {
    base::systemLog(
        fmt::format("AVAudioApplication.requestRecordPermission result: {}", isMicrophoneGranted));
    microphoneGranted = isMicrophoneGranted;
    if (isMicrophoneGranted)
        reportGrant();
    else
        openMicrophonePageAndPoll();
}

void PermissionsManager::take(const Microphone& microphone) {
    base::systemLog(fmt::format("checkMicrophone() — AVCaptureDevice status: {}, AVAudioApplication "
                                "recordPermission: {}",
                                static_cast<int>(microphone.status),
                                static_cast<std::uint32_t>(microphone.recordPermission)));
    microphoneGranted = microphone.status == CaptureStatus::authorized ||
                        microphone.recordPermission == RecordPermission::granted;
}

void PermissionsManager::takeInputMonitoring(bool isGranted) {
    base::systemLog(fmt::format("checkInputMonitoring() — {}", isGranted));
    inputMonitoringGranted = isGranted;
}

void PermissionsManager::reportGrant() const {
    // A copy: what it does may be the end of this manager.
    if (const auto report = onPermissionGranted)
        report();
}

PermissionsManager::Microphone PermissionsManager::read(platform::CaptureAuthorization& authorization) {
    const auto status = authorization.status();
    return {status, authorization.recordPermission()};
}

runtime::Task<PermissionsManager::Microphone>
PermissionsManager::readLater(platform::CaptureAuthorization* authorization) {
    co_return read(*authorization);
}

runtime::Task<bool> PermissionsManager::probeLater(platform::EventTap* eventTap) {
    co_return eventTap->probe();
}

runtime::Task<> PermissionsManager::poll(std::weak_ptr<PermissionsManager> weakSelf, runtime::Clock* clock,
                                         Check check) {
    for (int count = 0; count < mostChecks; ++count) {
        if (co_await runtime::sleep(*clock, checkPeriod) == runtime::SleepOutcome::interrupted)
            co_return;
        // The sleep may have been over already when the cancellation came.
        if (co_await runtime::isCurrentTaskCancelled())
            co_return;
        if (!co_await check(weakSelf))
            continue;
        if (const auto self = weakSelf.lock())
            self->reportGrant();
        co_return;
    }
}

runtime::Task<std::optional<PermissionsManager::Microphone>>
PermissionsManager::readMicrophone(std::weak_ptr<PermissionsManager> weakSelf) {
    auto self = weakSelf.lock();
    if (!self)
        co_return std::nullopt;
    // A sound server that hangs would stop the main actor for 2 s.
    const auto pool = self->parts_.pool;
    auto reading = readLater(&self->parts_.captureAuthorization);
    self.reset();
    co_return co_await runtime::runOn(pool, std::move(reading));
}

runtime::Task<bool> PermissionsManager::microphoneCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    const auto microphone = co_await readMicrophone(weakSelf);
    const auto self = weakSelf.lock();
    if (!microphone || !self)
        co_return false;
    self->take(*microphone);
    co_return *self->microphoneGranted;
}

runtime::Task<bool> PermissionsManager::accessibilityCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    const auto self = weakSelf.lock();
    if (!self)
        co_return false;
    self->checkAccessibility();
    co_return *self->accessibilityGranted;
}

runtime::Task<bool> PermissionsManager::inputMonitoringCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    auto self = weakSelf.lock();
    if (!self)
        co_return false;
    // The probe touches the window server.
    const auto pool = self->parts_.pool;
    auto probe = probeLater(&self->parts_.eventTap);
    self.reset();
    const bool isGranted = co_await runtime::runOn(pool, std::move(probe));

    self = weakSelf.lock();
    if (!self)
        co_return false;
    self->takeInputMonitoring(isGranted);
    co_return *self->inputMonitoringGranted;
}

runtime::Task<bool> PermissionsManager::speechRecognitionCheck(std::weak_ptr<PermissionsManager> weakSelf) {
    const auto self = weakSelf.lock();
    if (!self)
        co_return false;
    self->checkSpeechRecognition();
    co_return *self->speechRecognitionGranted;
}

runtime::Task<> PermissionsManager::requestSpeech(std::weak_ptr<PermissionsManager> weakSelf,
                                                  SpeechRequest request) {
    const auto answer = co_await request();
    const auto self = weakSelf.lock();
    if (!self)
        co_return;
    self->speechRecognitionGranted = answer == SpeechAuthorization::authorized;
    if (*self->speechRecognitionGranted)
        self->reportGrant();
}

} // namespace sonvale::services
