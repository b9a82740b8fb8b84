#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyManager.h"
#include "hotkeys/HotkeyMigration.h"
#include "hotkeys/KeyCapture.h"
#include "hotkeys/KeyPills.h"
#include "persistence/ModelContainer.h"
#include "persistence/Settings.h"
#include "tests/cases/runner/CaseInput.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestRuntime.h"

#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace sonvale::tests {

using nlohmann::json;
using namespace hotkeys;

namespace {

namespace keys = persistence::keys;

HotkeyAction action(const json& in, const char* name) {
    const auto raw = text(in, name);
    return known(hotkeyActionFromRawValue(raw), "action \"" + raw + "\"");
}

/// Returns the bindings of a case: in their stored form, or null for the defaults.
HotkeyBindings bindings(const json& in) {
    const auto& value = field(in, "bindings");
    if (value.is_null())
        return HotkeyBindingStore::defaults();
    return known(HotkeyBindingStore::decode(value.dump()), "form of bindings").bindings;
}

json shown(const HotkeyConfiguration& config) {
    return {
        {"keyCode", config.keyCode}, {"modifiers", config.modifiers}, {"displayName", config.displayName}};
}

json shown(const std::vector<HotkeyConfiguration>& configs) {
    auto list = json::array();
    for (const auto& config : configs)
        list.push_back(shown(config));
    return list;
}

/// Returns the captured hotkey of each event.
json captured(const json& events) {
    using Type = platform::KeyEvent::Type;
    static const std::map<std::string, Type> types{{"keyDown", Type::keyDown},
                                                   {"flagsChanged", Type::flagsChanged}};
    auto list = json::array();
    for (const auto& event : events) {
        const auto type = types.find(text(event, "type"));
        if (type == types.end())
            throw BadCase("unknown type of event");
        const auto capture = captureKey({.type = type->second,
                                         .keyCode = static_cast<int>(integer(event, "keyCode")),
                                         .flags = unsignedInteger(event, "flags")});
        if (const auto* config = std::get_if<HotkeyConfiguration>(&capture))
            list.push_back(shown(*config));
        else
            list.push_back(std::holds_alternative<CaptureCancelled>(capture) ? json("cancel") : json());
    }
    return list;
}

json shown(const HotkeyBindings& bindings) {
    auto list = json::array();
    for (const auto& [key, binding] : bindings) {
        list.push_back({{"action", rawValue(binding.action)},
                        {"configs", shown(binding.configs)},
                        {"isEnabled", binding.isEnabled}});
    }
    return list;
}

/// The settings file of a case.
struct CaseSettings {
    TemporaryDirectory directory;
    persistence::Settings settings{std::filesystem::path(directory.path()) / "defaults.json"};
};

json loadBindings(const json& in) {
    CaseSettings store;
    if (const auto stored = textOrNull(in, "stored"))
        store.settings.set(keys::hotkeyBindings, {*stored});
    return shown(HotkeyBindingStore::load(store.settings));
}

json conflictingAction(const json& in) {
    const auto conflict = HotkeyBindingStore::conflictingAction(
        integer(in, "keyCode"), unsignedInteger(in, "modifiers"), action(in, "editing"), bindings(in));
    return conflict ? json(rawValue(*conflict)) : json();
}

json migrateHotkey(const json& in) {
    CaseSettings store;
    const auto container = persistence::ModelContainer::openInMemory();
    store.settings.set(keys::hotkeyBindingsMigrated, boolean(in, "migrated"));
    if (const auto& old = field(in, "settings"); !old.is_null()) {
        persistence::AppSettings record;
        record.hotkeyKeyCode = integer(old, "hotkeyKeyCode");
        record.hotkeyModifiers = integer(old, "hotkeyModifiers");
        container->mainContext().insert(record);
        container->mainContext().save();
    }

    migrateHotkeyBindings(store.settings, boolean(in, "storeOpen") ? &container->mainContext() : nullptr);

    return {
        {"migrated", store.settings.read(keys::hotkeyBindingsMigrated)},
        {"pushToTalk", shown(HotkeyBindingStore::load(store.settings).at(HotkeyAction::pushToTalk).configs)}};
}

/// A tap that records the verdicts of its callback, also for events that cannot be swallowed, and runs its
/// blocks at once.
class AnsweringTap final : public platform::EventTap {
public:
    explicit AnsweringTap(runtime::Actor thread)
        : thread_(std::move(thread)) {}

    platform::KeyVerdict send(const platform::KeyEvent& event) {
        answer_ = platform::KeyVerdict::pass;
        tap_.control().send(event);
        return answer_;
    }

    bool probe() override { return tap_.probe(); }
    bool start(Callback callback) override {
        return tap_.start([this, callback = std::move(callback)](const platform::KeyEvent& event) {
            return answer_ = callback(event);
        });
    }
    void stop() override { tap_.stop(); }
    void enable() override { tap_.enable(); }
    void perform(std::function<void()> block) override {
        tap_.perform(std::move(block));
        thread_.post([this] { tap_.control().runBlocks(); });
    }
    void setSwallowable(std::vector<platform::KeyCombination> combinations) override {
        tap_.setSwallowable(std::move(combinations));
    }
    void setOnTaken(std::function<void(platform::KeyCombination)> onTaken) override {
        tap_.setOnTaken(std::move(onTaken));
    }

private:
    runtime::Actor thread_;
    FakeEventTap tap_;
    platform::KeyVerdict answer_ = platform::KeyVerdict::pass;
};

/// The manager with a keyboard, a main actor and a clock that a case controls.
class ListeningCase {
public:
    ListeningCase() {
        onMain([this] {
            manager_ = std::make_unique<HotkeyManager>(runtime_.main(), runtime_.clock(), tap_);
            manager_->setOnAction([this](HotkeyAction action, HotkeyEventType type) {
                delivered_.push_back(
                    {elapsedMilliseconds(), rawValue(action), type == HotkeyEventType::down ? "down" : "up"});
            });
            manager_->start();
        });
    }
    ~ListeningCase() {
        onMain([this] { manager_.reset(); });
    }
    ListeningCase(const ListeningCase&) = delete;
    ListeningCase& operator=(const ListeningCase&) = delete;

    void update(const HotkeyBindings& bindings) {
        onMain([&] { manager_->updateBindings(bindings); });
    }

    platform::KeyVerdict send(const platform::KeyEvent& event) {
        const auto verdict = tap_.send(event);
        runtime_.runUntilIdle();
        return verdict;
    }

    /// Advances the clock to that many milliseconds after the start; never back.
    void runTo(double milliseconds) {
        const auto left = begin_ + milliseconds / 1000 - runtime_.clock().now();
        if (left > 0)
            runtime_.clock().advance(left);
    }

    json takeDelivered() { return std::exchange(delivered_, json::array()); }

private:
    void onMain(std::function<void()> work) {
        runtime_.main().post(std::move(work));
        runtime_.runUntilIdle();
    }

    double elapsedMilliseconds() { return std::round((runtime_.clock().now() - begin_) * 1e6) / 1e3; }

    TestRuntime runtime_;
    double begin_ = runtime_.clock().now();
    AnsweringTap tap_{runtime_.main()};
    std::unique_ptr<HotkeyManager> manager_;
    json delivered_ = json::array();
};

platform::KeyEvent keyEvent(const json& in, platform::KeyEvent::Type type) {
    const auto keyCode = integer(in, "keyCode");
    // The tap reports a number that is not a key code as a key without one.
    return {type, std::in_range<int>(keyCode) ? static_cast<int>(keyCode) : -1, unsignedInteger(in, "flags")};
}

json listen(const json& in) {
    using Type = platform::KeyEvent::Type;
    static const std::map<std::string, Type> keyTypes{
        {"keyDown", Type::keyDown}, {"keyUp", Type::keyUp}, {"flagsChanged", Type::flagsChanged}};

    ListeningCase listening;
    listening.update(bindings(in));
    auto verdicts = json::array();
    for (const auto& event : array(in, "events")) {
        listening.runTo(number(event, "atMs"));
        const auto type = text(event, "type");
        if (const auto keyType = keyTypes.find(type); keyType != keyTypes.end()) {
            const auto verdict = listening.send(keyEvent(event, keyType->second));
            verdicts.push_back(verdict == platform::KeyVerdict::swallow ? "swallow" : "pass");
        } else if (type == "tapDisabled") {
            listening.send({Type::tapDisabled, 0, 0});
        } else if (type == "updateBindings") {
            listening.update(bindings(event));
        } else {
            throw BadCase("unknown event \"" + type + "\"");
        }
    }
    listening.runTo(number(in, "untilMs"));
    return {{"events", verdicts}, {"delivered", listening.takeDelivered()}};
}

} // namespace

void addHotkeyCases(CaseRegistry& registry) {
    registry["keySymbol"] = [](const json& in) { return json(keySymbol(integer(in, "keyCode"))); };
    registry["keyPills"] = [](const json& in) {
        return json(keyPills(integer(in, "keyCode"), unsignedInteger(in, "modifiers")));
    };
    registry["captureKey"] = [](const json& in) { return captured(array(in, "events")); };
    registry["keyName"] = [](const json& in) { return HotkeyConfiguration::keyName(integer(in, "keyCode")); };
    registry["formatDisplayName"] = [](const json& in) {
        return HotkeyConfiguration::formatDisplayName(integer(in, "keyCode"),
                                                      unsignedInteger(in, "modifiers"));
    };
    registry["loadBindings"] = loadBindings;
    registry["conflictingAction"] = conflictingAction;
    registry["migrateHotkey"] = migrateHotkey;
    registry["hotkeys"] = listen;
}

} // namespace sonvale::tests
