#pragma once

#include "base/Observed.h"
#include "platform/AccessibilityTree.h"
#include "platform/CaptureAuthorization.h"
#include "platform/EventTap.h"
#include "platform/SpeechRecognizer.h"

#include <functional>

namespace sonvale::services {

/// What the operating system lets this program do. Main actor; the ports must outlive it.
class PermissionsManager {
public:
    PermissionsManager(platform::CaptureAuthorization& capture, platform::AccessibilityTree& accessibility,
                       platform::EventTap& eventTap, platform::SpeechRecognizers& speech);
    PermissionsManager(const PermissionsManager&) = delete;
    PermissionsManager& operator=(const PermissionsManager&) = delete;

    /// Each is false until its check; only its check writes it.
    base::Observed<bool> microphoneGranted{false};
    base::Observed<bool> accessibilityGranted{false};
    base::Observed<bool> inputMonitoringGranted{false};
    base::Observed<bool> speechRecognitionGranted{false};

    /// Each asks the system and logs the answer. The system takes some milliseconds.
    void checkMicrophone();
    void checkAccessibility();
    void checkInputMonitoring();
    void checkSpeechRecognition();

    /// All four checks, in the order above.
    void refresh();

    /// Called on the main actor when the user has granted what was asked for; set once by the owner, which
    /// the function holds weakly. The checks themselves tell only the observers of the flags.
    std::function<void()> onPermissionGranted;

private:
    platform::CaptureAuthorization& capture_;
    platform::AccessibilityTree& accessibility_;
    platform::EventTap& eventTap_;
    platform::SpeechRecognizers& speech_;
};

} // namespace sonvale::services
