#include <atspi/atspi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

// Shows what a screen reader sees of the program's windows, and operates their controls. It is a separate
// program because the library uses the first bus that it has seen until its process ends.

namespace {

constexpr const char* application = "Son Vale";

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using Accessible = std::unique_ptr<AtspiAccessible, Unref>;

std::string taken(char* text) {
    std::string copy = text ? text : "";
    g_free(text);
    return copy;
}

std::string nameOf(AtspiAccessible* item) {
    return taken(atspi_accessible_get_name(item, nullptr));
}

bool isShowing(AtspiAccessible* item) {
    AtspiStateSet* states = atspi_accessible_get_state_set(item);
    const bool shows = atspi_state_set_contains(states, ATSPI_STATE_SHOWING);
    g_object_unref(states);
    return shows;
}

bool has(AtspiAccessible* item, AtspiStateType state) {
    AtspiStateSet* states = atspi_accessible_get_state_set(item);
    const bool holds = atspi_state_set_contains(states, state);
    g_object_unref(states);
    return holds;
}

/// Returns the text of a field. Empty if the item has no text.
std::string textOf(AtspiAccessible* item) {
    AtspiText* text = atspi_accessible_get_text_iface(item);
    if (!text)
        return {};
    const int count = atspi_text_get_character_count(text, nullptr);
    auto content = taken(atspi_text_get_text(text, 0, count < 0 ? 0 : count, nullptr));
    g_object_unref(text);
    return content;
}

/// Visits all items, depth first, until `visit` returns true.
bool walk(AtspiAccessible* item, int depth, const std::function<bool(AtspiAccessible*, int)>& visit) {
    if (visit(item, depth))
        return true;
    const int count = atspi_accessible_get_child_count(item, nullptr);
    for (int i = 0; i < count; ++i) {
        const Accessible child(atspi_accessible_get_child_at_index(item, i, nullptr));
        if (child && walk(child.get(), depth + 1, visit))
            return true;
    }
    return false;
}

Accessible findApplication() {
    const Accessible desktop(atspi_get_desktop(0));
    const int count = atspi_accessible_get_child_count(desktop.get(), nullptr);
    for (int i = 0; i < count; ++i) {
        Accessible child(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (child && nameOf(child.get()) == application)
            return child;
    }
    return {};
}

/// Returns the name of the role, the same for every version: from 2.53 on AT-SPI calls a push button a
/// button.
std::string roleOf(AtspiAccessible* item) {
    if (atspi_accessible_get_role(item, nullptr) == ATSPI_ROLE_PUSH_BUTTON)
        return "push button";
    return taken(atspi_accessible_get_role_name(item, nullptr));
}

/// Returns the first visible item with this name and, if `role` is given, this role.
Accessible find(AtspiAccessible* root, std::string_view name, std::string_view role) {
    Accessible found;
    walk(root, 0, [&](AtspiAccessible* item, int) {
        if (nameOf(item) != name || !isShowing(item))
            return false;
        if (!role.empty() && roleOf(item) != role)
            return false;
        found.reset(ATSPI_ACCESSIBLE(g_object_ref(item)));
        return true;
    });
    return found;
}

/// Prints a line for each item: role, name, "on" if it is checked or selected, and the text of a field.
void printAll(AtspiAccessible* root) {
    walk(root, 0, [](AtspiAccessible* item, int depth) {
        if (depth > 1 && !isShowing(item))
            return false;
        const bool isOn = has(item, ATSPI_STATE_CHECKED) || has(item, ATSPI_STATE_SELECTED);
        std::printf("%*s%s\t%s\t%s\t%s\n", depth, "", roleOf(item).c_str(), nameOf(item).c_str(),
                    isOn ? "on" : "", textOf(item).c_str());
        return false;
    });
}

bool press(AtspiAccessible* item) {
    AtspiAction* action = atspi_accessible_get_action_iface(item);
    if (!action)
        return false;
    const int count = atspi_action_get_n_actions(action, nullptr);
    bool isDone = false;
    for (int i = 0; i < count && !isDone; ++i) {
        const auto name = taken(atspi_action_get_action_name(action, i, nullptr));
        if (name == "Press" || name == "Toggle")
            isDone = atspi_action_do_action(action, i, nullptr);
    }
    g_object_unref(action);
    return isDone;
}

bool focus(AtspiAccessible* item) {
    AtspiComponent* component = atspi_accessible_get_component_iface(item);
    if (!component)
        return false;
    const bool isDone = atspi_component_grab_focus(component, nullptr);
    g_object_unref(component);
    return isDone;
}

} // namespace

/// Commands: `read`; `press NAME [ROLE]`; `focus NAME [ROLE]`; `text NAME [ROLE]`. Fails if there is no such
/// item.
int main(int argc, char** argv) {
    if (argc < 2 || atspi_init() > 1)
        return EXIT_FAILURE;
    atspi_set_timeout(20000, 20000);
    const auto root = findApplication();
    if (!root)
        return EXIT_FAILURE;
    const std::string_view command = argv[1];
    if (command == "read") {
        printAll(root.get());
        return EXIT_SUCCESS;
    }
    if (argc < 3)
        return EXIT_FAILURE;
    const auto item = find(root.get(), argv[2], argc > 3 ? argv[3] : "");
    if (!item)
        return EXIT_FAILURE;
    if (command == "press")
        return press(item.get()) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (command == "focus")
        return focus(item.get()) ? EXIT_SUCCESS : EXIT_FAILURE;
    if (command == "text") {
        std::printf("%s", textOf(item.get()).c_str());
        return EXIT_SUCCESS;
    }
    return EXIT_FAILURE;
}
