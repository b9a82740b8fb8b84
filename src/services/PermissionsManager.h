#pragma once

#include "base/Observed.h"
#include "platform/AccessibilityTree.h"
#include "platform/CaptureAuthorization.h"
#include "platform/EventTap.h"
#include "platform/SpeechRecognizer.h"
#include "platform/Workspace.h"
#include "runtime/OwnedTasks.h"
#include "services/MicrophoneState.h"

#include <functional>
#include <memory>

namespace sonvale::services {

/// The permissions of this program, and requests for them.
///
/// The system does not report a permission that the user gives on its settings pages. So each request that
/// leads there starts a poll: one check per second for a minute, on the main actor. Only one poll runs at a
/// time, for any permission; it ends with the manager. Permissions that are given later are found by the
/// checks.
///
/// Main actor. Owned by a shared pointer.
class PermissionsManager : public std::enable_shared_from_this<PermissionsManager> {
public:
    /// The objects that it uses. All of them outlive it and its tasks.
    struct Parts {
        runtime::Actor main;
        runtime::Actor pool;
        runtime::Clock& clock;
        platform::CaptureAuthorization& captureAuthorization;
        platform::AccessibilityTree& accessibilityTree;
        platform::EventTap& eventTap;
        platform::SpeechRecognizers& speechRecognizers;
        platform::Workspace& workspace;
        /// Requests the permission of this machine's recognizer and waits for the answer.
        std::function<runtime::Task<platform::SpeechAuthorization>()> requestSpeechAuthorization;
    };

    explicit PermissionsManager(Parts parts);
    PermissionsManager(const PermissionsManager&) = delete;
    PermissionsManager& operator=(const PermissionsManager&) = delete;
    ~PermissionsManager();

    /// Each flag is false until its check or its request; a denied permission is also false.
    base::Observed<bool> microphoneGranted{false};
    base::Observed<bool> accessibilityGranted{false};
    base::Observed<bool> inputMonitoringGranted{false};
    base::Observed<bool> speechRecognitionGranted{false};

    /// Each asks the system, logs the answer and sets its flag. The system takes some milliseconds.
    void checkMicrophone();
    void checkAccessibility();
    void checkInputMonitoring();
    void checkSpeechRecognition();

    /// Runs all four checks in the order above.
    void refresh();

    /// Work as `checkMicrophone` and `refresh`, but do not wait for a sound server that hangs (2 s): the
    /// microphone is read off the main actor, and the checks and their log lines follow on it.
    void checkMicrophoneLater();
    void refreshLater();

    /// Requests the microphone if the user has not decided yet. If the answer is or was no, opens the
    /// settings page and starts a poll. Returns at once: the system is asked off the main actor. Does nothing
    /// if an earlier call still waits for the system.
    void requestMicrophoneWithPolling();

    /// Requests the recognizer's permission if the user has not decided yet; otherwise opens the settings
    /// page and starts a poll.
    void requestSpeechRecognitionWithPolling();

    /// Makes the system show its request. Does not start a poll; the caller does, by `pollAccessibility()`.
    void requestAccessibilityPrompt();

    /// Checks the permission and starts a poll if it is missing.
    void pollAccessibility();
    void pollInputMonitoring();

    /// Tries to listen, so that the system lists this program on the settings page, opens the page and starts
    /// a poll.
    void openInputMonitoringAndPoll();

    /// Called on the main actor when a request or a poll has found its permission. The owner sets it once;
    /// the function holds the owner weakly. The checks themselves notify only the observers of the flags.
    std::function<void()> onPermissionGranted;

private:
    /// One check of a poll: returns whether the permission is there.
    using Check = runtime::Task<bool> (*)(std::weak_ptr<PermissionsManager>);

    /// Reads the microphone's state off the main actor and calls `receive` on it.
    void readMicrophoneLater(std::function<void(PermissionsManager&, MicrophoneState)> receive);
    void startPolling(Check check);
    void openMicrophonePageAndPoll();
    void askForMicrophone(platform::CaptureStatus status);
    void setMicrophoneAnswer(bool isGranted);
    void setMicrophone(const MicrophoneState& microphone);
    void setInputMonitoring(bool isGranted);

    static runtime::Task<bool> microphoneCheck(std::weak_ptr<PermissionsManager> weakSelf);
    static runtime::Task<bool> inputMonitoringCheck(std::weak_ptr<PermissionsManager> weakSelf);

    const Parts parts_;
    runtime::OwnedTasks tasks_{parts_.main, parts_.clock};
    bool isRequestingMicrophone_ = false; ///< until the system has reported whether the user must be asked
    runtime::TaskHandle<> pollTask_;      ///< stays set after its end, until the next one replaces it
};

} // namespace sonvale::services
