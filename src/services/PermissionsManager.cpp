#include "services/PermissionsManager.h"

#include "base/Log.h"

#include <fmt/format.h>

namespace sonvale::services {

PermissionsManager::PermissionsManager(platform::CaptureAuthorization& capture,
                                       platform::AccessibilityTree& accessibility,
                                       platform::EventTap& eventTap, platform::SpeechRecognizers& speech)
    : capture_(capture)
    , accessibility_(accessibility)
    , eventTap_(eventTap)
    , speech_(speech) {}

void PermissionsManager::checkMicrophone() {
    // macOS keeps a second record of this grant; here there is one source, which stands for both.
    const auto status = capture_.status();
    const auto number = static_cast<int>(status);
    base::systemLog(fmt::format("checkMicrophone() — AVCaptureDevice status: {}, AVAudioApplication "
                                "recordPermission: {}",
                                number, number));
    microphoneGranted = status == platform::CaptureStatus::authorized;
}

void PermissionsManager::checkAccessibility() {
    const auto isGranted = accessibility_.isTrusted();
    base::systemLog(fmt::format("checkAccessibility() — {}", isGranted));
    accessibilityGranted = isGranted;
}

void PermissionsManager::checkInputMonitoring() {
    const auto isGranted = eventTap_.probe();
    base::systemLog(fmt::format("checkInputMonitoring() — {}", isGranted));
    inputMonitoringGranted = isGranted;
}

void PermissionsManager::checkSpeechRecognition() {
    const auto isGranted = speech_.authorizationStatus() == platform::SpeechAuthorization::authorized;
    base::systemLog(fmt::format("checkSpeechRecognition() — {}", isGranted));
    speechRecognitionGranted = isGranted;
}

void PermissionsManager::refresh() {
    checkMicrophone();
    checkAccessibility();
    checkInputMonitoring();
    checkSpeechRecognition();
}

} // namespace sonvale::services
