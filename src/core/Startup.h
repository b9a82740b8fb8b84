#pragma once

#include "core/flows/DictationContext.h"

#include <memory>

namespace sonvale::core {

/// Starts the hotkeys after the launch and after onboarding, and applies the modes of the settings. Main
/// actor.
class Startup {
public:
    /// The context must outlive it.
    explicit Startup(DictationContext& context);

    // The operations of `AppState` with the same names.
    void setup();
    void startHotkeysIfReady();
    void applyHotkeyBindings();
    bool isModifierGuardOn() const;
    void setModifierGuard(bool isOn);
    void completeOnboarding();
    void setLocalOnlyMode(bool enabled);

private:
    bool arePermissionsGranted() const;
    void adoptBindings();
    static runtime::Task<> retrySlowly(std::weak_ptr<Startup> weakSelf, runtime::Clock* clock);
    void retryStartLater(int attempt);
    void retryStart(int attempt);

    DictationContext& context_;
};

} // namespace sonvale::core
