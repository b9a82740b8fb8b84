#include "hotkeys/HotkeyBindingStore.h"

#include "base/Json.h"
#include "persistence/Settings.h"
#include "platform/EventTap.h"
#include "platform/KeyCodes.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>
#include <utility>

namespace sonvale::hotkeys {

namespace {

using base::Json;
using base::jsonMember;
namespace modifier = platform::modifier;

/// Returns the value of a JSON number if it is whole and fits the type, in any notation (49, 49.0, 4.9e1).
template <std::integral Integer>
std::optional<Integer> wholeNumber(const Json* value) {
    if (value == nullptr || !value->is_number())
        return std::nullopt;
    if (value->is_number_float()) {
        const auto number = value->get<double>();
        const auto beyond = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
        const auto lowest = std::is_signed_v<Integer> ? -beyond : 0.0;
        if (std::trunc(number) != number || number < lowest || number >= beyond)
            return std::nullopt;
        return static_cast<Integer>(number);
    }
    const auto fit = [](auto number) -> std::optional<Integer> {
        if (!std::in_range<Integer>(number))
            return std::nullopt;
        return static_cast<Integer>(number);
    };
    return value->is_number_unsigned() ? fit(value->get<std::uint64_t>()) : fit(value->get<std::int64_t>());
}

std::optional<HotkeyAction> readAction(const Json* value) {
    if (value == nullptr || !value->is_string())
        return std::nullopt;
    return hotkeyActionFromRawValue(value->get_ref<const std::string&>());
}

std::optional<HotkeyConfiguration> readConfiguration(const Json& value) {
    const auto keyCode = wholeNumber<std::int64_t>(jsonMember(value, "keyCode"));
    const auto modifiers = wholeNumber<std::uint64_t>(jsonMember(value, "modifiers"));
    const auto* displayName = jsonMember(value, "displayName");
    if (!keyCode || !modifiers || displayName == nullptr || !displayName->is_string())
        return std::nullopt;
    return HotkeyConfiguration{*keyCode, *modifiers, displayName->get<std::string>()};
}

std::optional<HotkeyBinding> readBinding(const Json& value) {
    const auto action = readAction(jsonMember(value, "action"));
    const auto* configs = jsonMember(value, "configs");
    const auto* isEnabled = jsonMember(value, "isEnabled");
    if (!action || configs == nullptr || !configs->is_array() || isEnabled == nullptr ||
        !isEnabled->is_boolean())
        return std::nullopt;

    HotkeyBinding binding{*action, {}, isEnabled->get<bool>()};
    for (const auto& entry : *configs) {
        auto config = readConfiguration(entry);
        if (!config)
            return std::nullopt;
        binding.configs.push_back(std::move(*config));
    }
    return binding;
}

Json written(const HotkeyBinding& binding) {
    auto configs = Json::array();
    for (const auto& config : binding.configs) {
        configs.push_back({{"keyCode", config.keyCode},
                           {"modifiers", config.modifiers},
                           {"displayName", config.displayName}});
    }
    return {{"action", rawValue(binding.action)},
            {"configs", std::move(configs)},
            {"isEnabled", binding.isEnabled}};
}

} // namespace

HotkeyBindings HotkeyBindingStore::defaults() {
    HotkeyBindings bindings;
    const auto bind = [&bindings](HotkeyAction action, HotkeyConfiguration config) {
        bindings.emplace(action, HotkeyBinding{action, {std::move(config)}, true});
    };
    bind(HotkeyAction::pushToTalk, {HotkeyConfiguration::modifiersOnly, modifier::option, "Option"});
    bind(HotkeyAction::handsFree, {49, modifier::option, "Option + Space"});
    bind(HotkeyAction::commandMode, {24, modifier::option, "Option + ="});
    bind(HotkeyAction::pasteLastTranscript,
         {9, modifier::command | modifier::option, "Command + Option + V"});
    bind(HotkeyAction::cancel, {platform::key_code::escape, 0, "Escape"});
    return bindings;
}

HotkeyBindings HotkeyBindingStore::load(const persistence::Settings& settings) {
    const auto stored = settings.stored(persistence::keys::hotkeyBindings);
    auto store = stored ? decode(stored->bytes) : std::nullopt;
    if (!store)
        return defaults();
    auto bindings = std::move(store->bindings);
    bindings.merge(defaults());
    return bindings;
}

void HotkeyBindingStore::save(persistence::Settings& settings, const HotkeyBindings& bindings) {
    settings.set(persistence::keys::hotkeyBindings, {HotkeyBindingStore{bindings}.encode()});
}

std::optional<HotkeyAction> HotkeyBindingStore::conflictingAction(std::int64_t keyCode,
                                                                  std::uint64_t modifiers,
                                                                  HotkeyAction editing,
                                                                  const HotkeyBindings& bindings) {
    const auto holdsCandidate = [keyCode, modifiers](const HotkeyConfiguration& config) {
        return config.keyCode == keyCode && config.modifiers == modifiers;
    };
    for (const auto& [key, binding] : bindings) {
        if (binding.action != editing && binding.isEnabled &&
            std::ranges::any_of(binding.configs, holdsCandidate))
            return binding.action;
    }
    return std::nullopt;
}

std::optional<HotkeyBindingStore> HotkeyBindingStore::decode(std::string_view text) {
    const auto root = base::parseJson(text);
    const auto* pairs = root ? jsonMember(*root, "bindings") : nullptr;
    if (pairs == nullptr || !pairs->is_array() || pairs->size() % 2 != 0)
        return std::nullopt;

    HotkeyBindingStore store;
    for (std::size_t i = 0; i < pairs->size(); i += 2) {
        const auto action = readAction(&(*pairs)[i]);
        auto binding = readBinding((*pairs)[i + 1]);
        if (!action || !binding)
            return std::nullopt;
        // If an action occurs twice, the last binding counts, as in a map that is read in order.
        store.bindings.insert_or_assign(*action, std::move(*binding));
    }
    return store;
}

std::string HotkeyBindingStore::encode() const {
    auto pairs = Json::array();
    for (const auto& [action, binding] : bindings) {
        pairs.push_back(rawValue(action));
        pairs.push_back(written(binding));
    }
    return base::jsonText({{"bindings", std::move(pairs)}});
}

} // namespace sonvale::hotkeys
