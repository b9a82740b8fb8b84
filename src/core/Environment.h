#pragma once

#include "persistence/AuditLogger.h"
#include "persistence/Settings.h"
#include "platform/AccessibilityTree.h"
#include "platform/Application.h"
#include "platform/AudioEngine.h"
#include "platform/AudioFile.h"
#include "platform/CaptureAuthorization.h"
#include "platform/Directories.h"
#include "platform/EventTap.h"
#include "platform/FloatingPanel.h"
#include "platform/LoginItem.h"
#include "platform/MediaPlayers.h"
#include "platform/NativeKeys.h"
#include "platform/Pasteboard.h"
#include "platform/PathMonitor.h"
#include "platform/SampleRateConverter.h"
#include "platform/SecureRandom.h"
#include "platform/SessionLock.h"
#include "platform/SpeechRecognizer.h"
#include "platform/SyntheticInput.h"
#include "platform/Updater.h"
#include "platform/UrlSession.h"
#include "platform/Workspace.h"
#include "runtime/Clock.h"
#include "services/ServiceAddresses.h"

#include <functional>
#include <string>

namespace sonvale::core {

/// The objects that the composition root passes to the core: the actors for tasks, the clock, the adapters
/// behind the ports, and the objects that exist once in the process. All of them outlive the core.
struct Environment {
    runtime::Actor main;
    runtime::Actor pool;
    std::function<runtime::Actor(std::string name)> makeSerialActor;
    runtime::Clock& clock;

    platform::Directories directories;
    services::ServiceAddresses addresses;
    std::string version; ///< the program's own, such as "1.2.0"
    persistence::Settings& settings;
    persistence::AuditLogger& auditLogger;

    platform::EventTap& eventTap;
    platform::SyntheticInput& syntheticInput;
    platform::Pasteboard& pasteboard;
    platform::Workspace& workspace;
    platform::AccessibilityTree& accessibilityTree;
    platform::AudioEngines& audioEngines;
    platform::AudioFiles& audioFiles;
    platform::SampleRateConverters& sampleRateConverters;
    platform::CaptureAuthorization& captureAuthorization;
    platform::SpeechRecognizers& speechRecognizers;
    platform::SecureRandom& secureRandom;
    platform::UrlSessions& urlSessions;
    platform::PathMonitor& pathMonitor;
    platform::MediaPlayers& mediaPlayers;
    platform::SessionLock& sessionLock;
    platform::FloatingPanel& floatingPanel;
    platform::Application& application;
    const platform::NativeKeys& nativeKeys;
    platform::LoginItem& loginItem;
    platform::Updater& updater;

    /// The user's locale, such as "en-US".
    std::function<std::string()> currentLocale;
    /// Returns the locale for dates and times.
    std::function<std::string()> currentDateLocale;

    /// Whether the desktop's own shortcuts begin with the modifiers of hotkeys that are modifiers alone. Then
    /// the setting `guardModifierHotkeys` is on unless the user turns it off.
    bool areModifiersShared = false;
};

} // namespace sonvale::core
