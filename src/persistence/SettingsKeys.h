#pragma once

#include "persistence/Data.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace sonvale::persistence {

/// The source of a setting's default if nothing is stored.
enum class DefaultGiven {
    none,       ///< no default: a plain read returns the type's empty value
    registered, ///< `Settings::registerDefaults()`, for every reader; views are bound with it too
    bound,      ///< the views that are bound to the key; a plain read returns the type's empty value
    byReader,   ///< the only reader of the key
};

/// One row of the table of settings. `T` is bool, std::int64_t, std::string or `Data`.
template <class T>
struct SettingKey {
    using Value = T;
    /// Defaults are constants, so texts are views.
    using Default =
        std::conditional_t<std::is_same_v<T, std::string> || std::is_same_v<T, Data>, std::string_view, T>;

    std::string_view name;
    std::optional<Default> defaultValue; ///< nullopt: the key has no default
    DefaultGiven given = DefaultGiven::none;
    std::string_view meaning;
};

/// The table of settings: all keys that the program stores.
namespace keys {

inline constexpr SettingKey<bool> isOnboardingComplete{"isOnboardingComplete", false, DefaultGiven::none,
                                                       "onboarding has been finished"};
inline constexpr SettingKey<std::int64_t> onboardingStep{"onboardingStep", 0, DefaultGiven::none,
                                                         "raw value of the step to resume at"};
inline constexpr SettingKey<bool> pauseAudioDuringDictation{
    "pauseAudioDuringDictation", true, DefaultGiven::registered, "pause media players while recording"};
inline constexpr SettingKey<bool> showInDock{"showInDock", true, DefaultGiven::registered,
                                             "place in the taskbar against menu bar only"};
inline constexpr SettingKey<bool> privacyModeEnabled{"privacyModeEnabled", false, DefaultGiven::registered,
                                                     "nothing is written to the history"};
inline constexpr SettingKey<bool> localOnlyMode{"localOnlyMode", false, DefaultGiven::registered,
                                                "all processing on the device"};
inline constexpr SettingKey<bool> aiProcessingEnabled{"aiProcessingEnabled", true, DefaultGiven::registered,
                                                      "language-model clean-up after dictation"};
inline constexpr SettingKey<bool> soundEffectsEnabled{"soundEffectsEnabled", true, DefaultGiven::bound,
                                                      "sound effects"};
inline constexpr SettingKey<bool> launchAtLogin{"launchAtLogin", false, DefaultGiven::bound,
                                                "start at login"};
inline constexpr SettingKey<std::string> transcriptionEngine{
    "transcriptionEngine", "hybrid", DefaultGiven::bound,
    R"(raw value of the engine preference: "cloud", "local", "hybrid" or "streaming")"};
inline constexpr SettingKey<std::string> engineBeforeLocalOnly{
    "engineBeforeLocalOnly", std::nullopt, DefaultGiven::none, "engine to go back to after local-only mode"};
inline constexpr SettingKey<std::string> language{"language", "en", DefaultGiven::bound,
                                                  "spoken language code"};
inline constexpr SettingKey<std::string> scratchpadText{"scratchpadText", "", DefaultGiven::bound,
                                                        "content of the scratchpad"};
inline constexpr SettingKey<std::int64_t> retentionPeriodDays{
    "retentionPeriodDays", 30, DefaultGiven::byReader, "days to keep history; 0 keeps it indefinitely"};
inline constexpr SettingKey<Data> hotkeyBindings{"hotkeyBindings", std::nullopt, DefaultGiven::none,
                                                 "encoded shortcuts of all actions"};
inline constexpr SettingKey<bool> hotkeyBindingsMigrated{"hotkeyBindingsMigrated", false, DefaultGiven::none,
                                                         "the one-time migration of the single hotkey ran"};
inline constexpr SettingKey<bool> guardModifierHotkeys{
    "guardModifierHotkeys", std::nullopt, DefaultGiven::byReader,
    "a hotkey of modifiers alone yields to other shortcuts and ignores short presses; the desktop decides "
    "the default"};
inline constexpr SettingKey<std::string> accessToken{"com.sonvale.accessToken", std::nullopt,
                                                     DefaultGiven::none, "session access token"};
inline constexpr SettingKey<std::string> refreshToken{"com.sonvale.refreshToken", std::nullopt,
                                                      DefaultGiven::none, "session refresh token"};
inline constexpr SettingKey<std::string> userEmail{"com.sonvale.userEmail", std::nullopt, DefaultGiven::none,
                                                   "e-mail of the signed-in user"};

/// All keys in the order of the table.
inline constexpr std::tuple table{isOnboardingComplete,
                                  onboardingStep,
                                  pauseAudioDuringDictation,
                                  showInDock,
                                  privacyModeEnabled,
                                  localOnlyMode,
                                  aiProcessingEnabled,
                                  soundEffectsEnabled,
                                  launchAtLogin,
                                  transcriptionEngine,
                                  engineBeforeLocalOnly,
                                  language,
                                  scratchpadText,
                                  retentionPeriodDays,
                                  hotkeyBindings,
                                  hotkeyBindingsMigrated,
                                  guardModifierHotkeys,
                                  accessToken,
                                  refreshToken,
                                  userEmail};

} // namespace keys

} // namespace sonvale::persistence
