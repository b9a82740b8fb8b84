#include "core/AppState.h"

#include "base/Log.h"
#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyMigration.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"
#include "transcription/TranscriptionEnginePreference.h"

namespace sonvale::core {

namespace keys = persistence::keys;
using transcription::TranscriptionEnginePreference;

namespace {

// Grants reach the program late: it looks often at first, then for two more minutes.
constexpr int fastAttempts = 10;
constexpr double fastPeriod = 2.0;
constexpr int slowPasses = 12;
constexpr double slowPeriod = 10.0;

constexpr int startAttempts = 3;
constexpr double startRetryPeriod = 2.0;

} // namespace

void AppState::setup() {
    base::systemLog(fmt::format("[AppState] setup() — isOnboardingComplete={}", isOnboardingComplete.get()));

    environment_.application.setActivationPolicy(environment_.settings.read(keys::showInDock)
                                                     ? platform::ActivationPolicy::regular
                                                     : platform::ActivationPolicy::accessory);

    if (isOnboardingComplete.get()) {
        startHotkeysIfReady();
        runtime::spawn(environment_.main, retrySlowly(weak_from_this(), &environment_.clock));
    }
}

void AppState::startHotkeysIfReady() {
    environment_.main.assertCurrent();
    constexpr auto say = [](const std::string& text) {
        base::systemLog("[AppState] startHotkeysIfReady() — " + text);
    };

    if (!isOnboardingComplete.get()) {
        say("skipped, onboarding not complete");
        return;
    }

    permissionsManager->refresh();
    const bool accessibility = permissionsManager->accessibilityGranted.get();
    const bool inputMonitoring = permissionsManager->inputMonitoringGranted.get();
    say(fmt::format("accessibilityGranted={} inputMonitoringGranted={}", accessibility, inputMonitoring));

    if (!accessibility || !inputMonitoring) {
        say("waiting for permissions.");
        return;
    }

    if (hotkeyManager->isEnabled().get()) {
        say("hotkeys already running, nothing to do.");
        return;
    }

    const bool isStarted = hotkeyManager->start();
    say(fmt::format("hotkeyManager.start() returned {}", isStarted));

    if (isStarted)
        adoptBindings();
    else
        runtime::spawn(environment_.main, retryStart(weak_from_this(), &environment_.clock));
}

void AppState::applyHotkeyBindings() {
    environment_.main.assertCurrent();
    hotkeys::migrateHotkeyBindings(environment_.settings, modelContext);
    hotkeyManager->updateBindings(hotkeys::HotkeyBindingStore::load(environment_.settings));
    hotkeyManager->setModifierGuard(isModifierGuardOn());
}

void AppState::adoptBindings() {
    applyHotkeyBindings();
    preWarmEngine();
}

runtime::Task<> AppState::retrySlowly(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock) {
    // An interrupted sleep is no reason to stop: the passes then follow each other without a pause.
    for (int attempt = 1; attempt <= fastAttempts; ++attempt) {
        co_await runtime::sleep(*clock, fastPeriod);
        const auto self = weakSelf.lock();
        if (!self)
            co_return;
        if (self->hotkeyManager->isEnabled().get()) {
            base::systemLog(fmt::format("[AppState] Hotkeys started on fast-retry attempt {}", attempt));
            co_return;
        }
        self->startHotkeysIfReady();
    }

    for (int pass = 1; pass <= slowPasses; ++pass) {
        co_await runtime::sleep(*clock, slowPeriod);
        const auto self = weakSelf.lock();
        if (!self || self->hotkeyManager->isEnabled().get())
            co_return;
        self->startHotkeysIfReady();
    }
}

runtime::Task<> AppState::retryStart(std::weak_ptr<AppState> weakSelf, runtime::Clock* clock) {
    for (int attempt = 1; attempt <= startAttempts; ++attempt) {
        if (co_await runtime::sleep(*clock, startRetryPeriod) == runtime::SleepOutcome::interrupted)
            co_return;
        const auto self = weakSelf.lock();
        if (!self || self->hotkeyManager->isEnabled().get())
            co_return;

        self->permissionsManager->refresh();
        if (!self->permissionsManager->accessibilityGranted.get() ||
            !self->permissionsManager->inputMonitoringGranted.get())
            co_return;

        const bool isStarted = self->hotkeyManager->start();
        base::systemLog(
            fmt::format("[AppState] startHotkeysIfReady() retry {} — returned {}", attempt, isStarted));
        if (isStarted) {
            self->adoptBindings();
            co_return;
        }
        if (attempt == startAttempts)
            self->surfaceError("Failed to start hotkey listener. Try restarting the app.");
    }
}

void AppState::completeOnboarding() {
    base::systemLog("[AppState] completeOnboarding() called");

    isOnboardingComplete = true;
    environment_.settings.set(keys::isOnboardingComplete, true);
    environment_.settings.remove(keys::onboardingStep);
    environment_.settings.synchronize();

    permissionsManager->refresh();
    base::systemLog(fmt::format(
        "[AppState] Permissions: mic={} a11y={} input={}", permissionsManager->microphoneGranted.get(),
        permissionsManager->accessibilityGranted.get(), permissionsManager->inputMonitoringGranted.get()));

    setup();
}

/// Closes the session and wipes what was gathered for it. What is said from now on reaches neither a session
/// that still stands nor, as gathered audio, the next one; the file of the recording has it.
void AppState::stopStreaming() {
    preWarmTask_.cancel();
    audioRecorder->setOnBuffer(nullptr);
    transcriptionManager->realtimeEngine->cancelSession();
}

void AppState::setLocalOnlyMode(bool enabled) {
    auto& settings = environment_.settings;
    auto& preference = transcriptionManager->preferredEngine;
    if (enabled) {
        settings.set(keys::engineBeforeLocalOnly, std::string(rawValue(preference.get())));
        preference = TranscriptionEnginePreference::local;
        settings.set(keys::transcriptionEngine, std::string(rawValue(preference.get())));
        recording_->isLocalOnly = true;
        stopStreaming();
        return;
    }

    const auto before = settings.stored(keys::engineBeforeLocalOnly);
    preference = transcription::preferenceAtStart(before);
    settings.set(keys::transcriptionEngine, std::string(rawValue(preference.get())));
    settings.remove(keys::engineBeforeLocalOnly);
}

} // namespace sonvale::core
