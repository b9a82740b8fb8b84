#pragma once

#include "base/Observed.h"
#include "platform/AccessibilityTree.h"
#include "platform/CaptureAuthorization.h"
#include "platform/EventTap.h"
#include "platform/SpeechRecognizer.h"
#include "platform/Workspace.h"
#include "runtime/Clock.h"

#include <functional>
#include <memory>
#include <optional>

namespace sonvale::services {

/// What the operating system lets this program do, and how the user is asked for it.
///
/// The system tells nobody when the user gives a grant on its settings pages. So each request that leads
/// there begins a poll: a look every second for a minute, on the main actor. There is one poll at a time,
/// whichever grant it looks for; it ends with the manager. Later grants are found by the checks.
///
/// Main actor. Held by a shared pointer.
class PermissionsManager : public std::enable_shared_from_this<PermissionsManager> {
public:
    /// What it works with; everything referred to outlives it and its tasks.
    struct Parts {
        runtime::Actor main;
        runtime::Actor pool;
        runtime::Clock& clock;
        platform::CaptureAuthorization& captureAuthorization;
        platform::AccessibilityTree& accessibilityTree;
        platform::EventTap& eventTap;
        platform::SpeechRecognizers& speechRecognizers;
        platform::Workspace& workspace;
        /// Asks for the recogniser of this machine and waits for the answer.
        std::function<runtime::Task<platform::SpeechAuthorization>()> requestSpeechAuthorization;
    };

    explicit PermissionsManager(Parts parts);
    PermissionsManager(const PermissionsManager&) = delete;
    PermissionsManager& operator=(const PermissionsManager&) = delete;
    ~PermissionsManager();

    /// Each is false until its check or its request; there is no denied apart from false.
    base::Observed<bool> microphoneGranted{false};
    base::Observed<bool> accessibilityGranted{false};
    base::Observed<bool> inputMonitoringGranted{false};
    base::Observed<bool> speechRecognitionGranted{false};

    /// Each asks the system, logs the answer and writes its flag. The system takes some milliseconds.
    void checkMicrophone();
    void checkAccessibility();
    void checkInputMonitoring();
    void checkSpeechRecognition();

    /// All four checks, in the order above.
    void refresh();

    /// As `checkMicrophone` and `refresh`, without a wait for a sound server that hangs (2 s): the microphone
    /// is read off the main actor, and the checks and their log lines follow on it.
    void checkMicrophoneLater();
    void refreshLater();

    /// Asks the user for the microphone where that has not been decided. Where the answer is or was no, the
    /// settings page opens and a poll begins. Returns at once: the system is asked off the main actor.
    /// Ignores the call if an earlier one still waits for the system.
    void requestMicrophoneWithPolling();

    /// Asks for the recogniser where that has not been decided; otherwise the settings page opens and a poll
    /// begins.
    void requestSpeechRecognitionWithPolling();

    /// Lets the system lead the user to the grant. Begins no poll: the caller does, by `pollAccessibility()`.
    void requestAccessibilityPrompt();

    /// A check, and a poll unless it finds the grant.
    void pollAccessibility();
    void pollInputMonitoring();

    /// Opens the settings page, after an attempt to listen, by which the system comes to list this program
    /// there. Then a poll.
    void openInputMonitoringAndPoll();

    /// Called on the main actor when a request or a poll has found its grant; set once by the owner, which
    /// the function holds weakly. The checks themselves tell only the observers of the flags.
    std::function<void()> onPermissionGranted;

private:
    struct Microphone {
        platform::CaptureStatus status;
        platform::RecordPermission recordPermission;
    };
    /// One look of a poll: whether the grant is there.
    using Check = runtime::Task<bool> (*)(std::weak_ptr<PermissionsManager>);

    void startPolling(Check check);
    void openMicrophonePageAndPoll();
    void askForMicrophone(platform::CaptureStatus status);
    void takeAnswer(bool isMicrophoneGranted);
    void take(const Microphone& microphone);
    void takeInputMonitoring(bool isGranted);
    void reportGrant() const;

    static Microphone read(platform::CaptureAuthorization& authorization);
    static runtime::Task<Microphone> readLater(platform::CaptureAuthorization* authorization);
    static runtime::Task<bool> probeLater(platform::EventTap* eventTap);

    static runtime::Task<> poll(std::weak_ptr<PermissionsManager> weakSelf, runtime::Clock* clock,
                                Check check);
    static runtime::Task<bool> microphoneCheck(std::weak_ptr<PermissionsManager> weakSelf);
    static runtime::Task<bool> accessibilityCheck(std::weak_ptr<PermissionsManager> weakSelf);
    static runtime::Task<bool> inputMonitoringCheck(std::weak_ptr<PermissionsManager> weakSelf);
    static runtime::Task<bool> speechRecognitionCheck(std::weak_ptr<PermissionsManager> weakSelf);

    enum class Checks { microphone, all };
    static runtime::Task<> checkLater(std::weak_ptr<PermissionsManager> weakSelf, Checks checks);
    static runtime::Task<> requestMicrophone(std::weak_ptr<PermissionsManager> weakSelf);
    /// Returns nullopt if the manager has ended. Resumes on the main actor.
    static runtime::Task<std::optional<Microphone>>
    readMicrophone(std::weak_ptr<PermissionsManager> weakSelf);

    using SpeechRequest = std::function<runtime::Task<platform::SpeechAuthorization>()>;
    static runtime::Task<> requestSpeech(std::weak_ptr<PermissionsManager> weakSelf, SpeechRequest request);

    const Parts parts_;
    bool isRequestingMicrophone_ = false; ///< until the system has said whether the user is to be asked
    runtime::TaskHandle<> pollTask_;      ///< stays set when it has ended, until the next replaces it
};

} // namespace sonvale::services
