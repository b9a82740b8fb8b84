#pragma once

#include "audio/AudioRecorder.h"
#include "audio/SystemAudioController.h"
#include "audio/VoiceActivityDetector.h"
#include "core/Environment.h"
#include "hotkeys/HotkeyManager.h"
#include "insertion/SelectedTextReader.h"
#include "insertion/TextInserter.h"
#include "services/AuthService.h"
#include "services/ConnectivityMonitor.h"
#include "services/PermissionsManager.h"
#include "textprocessing/CommandProcessor.h"
#include "textprocessing/ContextBuilder.h"
#include "textprocessing/PostProcessor.h"
#include "transcription/TranscriptionManager.h"

#include <memory>

namespace sonvale::core {

/// The services of the core, in the order in which they are built. Main actor.
struct Services {
    /// Builds them, registers the defaults of the settings and reads the engine preference. Does not listen
    /// to hotkeys yet. The objects of the environment must outlive them.
    explicit Services(const Environment& environment);

    std::shared_ptr<audio::AudioRecorder> audioRecorder;
    std::shared_ptr<hotkeys::HotkeyManager> hotkeyManager;
    std::shared_ptr<insertion::TextInserter> textInserter;
    std::shared_ptr<services::PermissionsManager> permissionsManager;
    std::unique_ptr<services::ConnectivityMonitor> connectivityMonitor;
    textprocessing::ContextBuilder contextBuilder;
    std::unique_ptr<insertion::SelectedTextReader> selectedTextReader;
    std::unique_ptr<audio::SystemAudioController> systemAudioController;
    std::unique_ptr<audio::VoiceActivityDetector> voiceActivityDetector;
    std::shared_ptr<services::AuthService> authService;
    std::shared_ptr<transcription::TranscriptionManager> transcriptionManager;
    std::unique_ptr<textprocessing::PostProcessor> postProcessor;
    std::unique_ptr<textprocessing::CommandProcessor> commandProcessor;

    /// Returns whether there is a key or a user's session for the services on the network.
    bool isModelReachable() const { return hasKey_ || authService->isAuthenticated.get(); }

private:
    bool hasKey_;
};

} // namespace sonvale::core
