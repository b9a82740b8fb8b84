#include "core/Startup.h"

#include "base/Log.h"
#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyMigration.h"
#include "persistence/SettingsKeys.h"
#include "runtime/Clock.h"
#include "transcription/TranscriptionEnginePreference.h"

#include <string>

namespace sonvale::core {

namespace keys = persistence::keys;
using transcription::TranscriptionEnginePreference;

namespace {

// Permissions reach the program late: it checks often at first, then for two more minutes.
constexpr int fastAttempts = 10;
constexpr double fastPeriod = 2.0;
constexpr int slowAttempts = 12;
constexpr double slowPeriod = 10.0;

constexpr int startAttempts = 3;
constexpr double startRetryPeriod = 2.0;

void say(const std::string& text) {
    base::systemLog("[AppState] startHotkeysIfReady() — " + text);
}

} // namespace

Startup::Startup(DictationContext& context)
    : context_(context) {}

void Startup::setup() {
    const bool isOnboardingComplete = context_.state.isOnboardingComplete.get();
    base::systemLog(fmt::format("[AppState] setup() — isOnboardingComplete={}", isOnboardingComplete));

    const auto& environment = context_.environment;
    environment.application.setActivationPolicy(environment.settings.read(keys::showInDock)
                                                    ? platform::ActivationPolicy::regular
                                                    : platform::ActivationPolicy::accessory);

    if (isOnboardingComplete) {
        startHotkeysIfReady();
        runtime::spawn(environment.main, retrySlowly(context_.tasks.weak(*this), &environment.clock));
    }
}

void Startup::startHotkeysIfReady() {
    context_.environment.main.assertCurrent();
    if (!context_.state.isOnboardingComplete.get()) {
        say("skipped, onboarding not complete");
        return;
    }

    auto& permissions = *context_.services.permissionsManager;
    permissions.refresh();
    say(fmt::format("accessibilityGranted={} inputMonitoringGranted={}",
                    permissions.accessibilityGranted.get(), permissions.inputMonitoringGranted.get()));
    if (!arePermissionsGranted()) {
        say("waiting for permissions.");
        return;
    }

    auto& hotkeys = *context_.services.hotkeyManager;
    if (hotkeys.isEnabled().get()) {
        say("hotkeys already running, nothing to do.");
        return;
    }

    const bool isStarted = hotkeys.start();
    say(fmt::format("hotkeyManager.start() returned {}", isStarted));

    if (isStarted)
        adoptBindings();
    else
        retryStartLater(1);
}

bool Startup::arePermissionsGranted() const {
    const auto& permissions = *context_.services.permissionsManager;
    return permissions.accessibilityGranted.get() && permissions.inputMonitoringGranted.get();
}

void Startup::applyHotkeyBindings() {
    context_.environment.main.assertCurrent();
    auto& settings = context_.environment.settings;
    auto& hotkeys = *context_.services.hotkeyManager;
    hotkeys::migrateHotkeyBindings(settings, context_.state.modelContext);
    hotkeys.updateBindings(hotkeys::HotkeyBindingStore::load(settings));
    hotkeys.setModifierGuard(isModifierGuardOn());
}

void Startup::adoptBindings() {
    applyHotkeyBindings();
    context_.stream.preWarm();
}

runtime::Task<> Startup::retrySlowly(std::weak_ptr<Startup> weakSelf, runtime::Clock* clock) {
    for (int attempt = 1; attempt <= fastAttempts + slowAttempts; ++attempt) {
        const bool isFast = attempt <= fastAttempts;
        // An interrupted sleep does not end the attempts: they then follow each other without a pause.
        co_await runtime::sleep(*clock, isFast ? fastPeriod : slowPeriod);
        const auto self = weakSelf.lock();
        if (!self)
            co_return;
        if (self->context_.services.hotkeyManager->isEnabled().get()) {
            if (isFast)
                base::systemLog(fmt::format("[AppState] Hotkeys started on fast-retry attempt {}", attempt));
            co_return;
        }
        self->startHotkeysIfReady();
    }
}

void Startup::retryStartLater(int attempt) {
    context_.tasks.later<Startup>(*this, startRetryPeriod,
                                  [attempt](Startup& self) { self.retryStart(attempt); });
}

void Startup::retryStart(int attempt) {
    auto& hotkeys = *context_.services.hotkeyManager;
    if (hotkeys.isEnabled().get())
        return;
    context_.services.permissionsManager->refresh();
    if (!arePermissionsGranted())
        return;

    const bool isStarted = hotkeys.start();
    base::systemLog(
        fmt::format("[AppState] startHotkeysIfReady() retry {} — returned {}", attempt, isStarted));
    if (isStarted)
        adoptBindings();
    else if (attempt < startAttempts)
        retryStartLater(attempt + 1);
    else
        context_.state.surfaceError("Failed to start hotkey listener. Try restarting the app.");
}

bool Startup::isModifierGuardOn() const {
    const auto& environment = context_.environment;
    return environment.settings.stored(keys::guardModifierHotkeys).value_or(environment.areModifiersShared);
}

void Startup::setModifierGuard(bool isOn) {
    context_.environment.settings.set(keys::guardModifierHotkeys, isOn);
    context_.services.hotkeyManager->setModifierGuard(isOn);
}

void Startup::completeOnboarding() {
    base::systemLog("[AppState] completeOnboarding() called");

    auto& settings = context_.environment.settings;
    context_.state.isOnboardingComplete = true;
    settings.set(keys::isOnboardingComplete, true);
    settings.remove(keys::onboardingStep);
    settings.synchronize();

    auto& permissions = *context_.services.permissionsManager;
    permissions.refresh();
    base::systemLog(fmt::format("[AppState] Permissions: mic={} a11y={} input={}",
                                permissions.microphoneGranted.get(), permissions.accessibilityGranted.get(),
                                permissions.inputMonitoringGranted.get()));

    setup();
}

void Startup::setLocalOnlyMode(bool enabled) {
    auto& settings = context_.environment.settings;
    auto& preference = context_.services.transcriptionManager->preferredEngine;
    if (enabled) {
        settings.set(keys::engineBeforeLocalOnly, std::string(rawValue(preference.get())));
        preference = TranscriptionEnginePreference::local;
        settings.set(keys::transcriptionEngine, std::string(rawValue(preference.get())));
        context_.captures.newest()->isLocalOnly = true;
        context_.stream.stop();
        return;
    }

    const auto before = settings.stored(keys::engineBeforeLocalOnly);
    preference = transcription::preferenceAtStart(before);
    settings.set(keys::transcriptionEngine, std::string(rawValue(preference.get())));
    settings.remove(keys::engineBeforeLocalOnly);
}

} // namespace sonvale::core
