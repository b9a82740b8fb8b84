#include "adapters/freedesktop/AtSpiReader.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

constexpr const char* rootPath = "/org/a11y/atspi/accessible/root";
constexpr const char* accessibleInterface = "org.a11y.atspi.Accessible";
constexpr const char* collectionInterface = "org.a11y.atspi.Collection";
constexpr const char* textInterface = "org.a11y.atspi.Text";

// From AtspiStateType and AtspiRole.
constexpr unsigned int stateActive = 1;
constexpr unsigned int stateFocusable = 11;
constexpr unsigned int stateFocused = 12;
constexpr unsigned int stateShowing = 25;
constexpr std::uint32_t rolePasswordText = 40;

/// In an editor of Qt that has the focus, the open tab and the text area report the focus too, but only the
/// element that gets the keys is focusable.
constexpr std::uint32_t focusStates = 1u << stateFocusable | 1u << stateFocused;

/// The grab of a hotkey takes the focus from the program. The program learns a moment after the end of the
/// grab that it has the focus again.
constexpr int attempts = 4;
constexpr double secondsBetweenAttempts = 0.01;

/// A table makes an object for each of its cells when it is asked for its children.
constexpr std::int32_t maxChildren = 256;
/// More than any window has on one level. The limit ends the search in a tree that contains itself.
constexpr std::size_t maxElements = 2000;

constexpr const char* objectReplacementCharacter = "\uFFFC";

bool isReturn(DBusMessage* answer) {
    return answer && dbus_message_get_type(answer) == DBUS_MESSAGE_TYPE_METHOD_RETURN;
}

/// Returns the bits of GetState, which arrive in two halves.
std::uint64_t statesIn(DBusMessage* answer) {
    const std::uint32_t* halves = nullptr;
    int count = 0;
    if (!isReturn(answer) || !dbus_message_get_args(answer, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_UINT32,
                                                    &halves, &count, DBUS_TYPE_INVALID))
        return 0;
    std::uint64_t states = count > 0 ? halves[0] : 0;
    if (count > 1)
        states |= std::uint64_t{halves[1]} << 32;
    return states;
}

bool has(std::uint64_t states, unsigned int state) {
    return (states >> state & 1) != 0;
}

/// Returns the number in the variant of a property.
std::int32_t propertyIn(DBusMessage* answer) {
    DBusMessageIter place;
    DBusMessageIter inside;
    if (!isReturn(answer) || !dbus_message_iter_init(answer, &place) ||
        dbus_message_iter_get_arg_type(&place) != DBUS_TYPE_VARIANT)
        return 0;
    dbus_message_iter_recurse(&place, &inside);
    std::int32_t number = 0;
    if (dbus_message_iter_get_arg_type(&inside) == DBUS_TYPE_INT32)
        dbus_message_iter_get_basic(&inside, &number);
    return number;
}

template <class Number>
std::optional<Number> numberIn(DBusMessage* answer) {
    dbus_uint32_t number = 0;
    if (!isReturn(answer) ||
        !dbus_message_get_args(answer, nullptr, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID))
        return std::nullopt;
    return static_cast<Number>(number);
}

void addEmptyArray(DBusMessageIter& rule, const char* type) {
    DBusMessageIter array;
    dbus_message_iter_open_container(&rule, DBUS_TYPE_ARRAY, type, &array);
    dbus_message_iter_close_container(&rule, &array);
}

void addNumber(DBusMessageIter& place, int type, std::int32_t number) {
    dbus_message_iter_append_basic(&place, type, &number);
}

void addFlag(DBusMessageIter& place, bool isSet) {
    const dbus_bool_t flag = isSet ? TRUE : FALSE;
    dbus_message_iter_append_basic(&place, DBUS_TYPE_BOOLEAN, &flag);
}

/// Adds the arguments of GetMatches that ask for the first element with the focus.
void addFocusRule(DBusMessage* call) {
    constexpr std::int32_t all = 1;
    DBusMessageIter arguments;
    DBusMessageIter rule;
    DBusMessageIter states;
    dbus_message_iter_init_append(call, &arguments);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_STRUCT, nullptr, &rule);
    dbus_message_iter_open_container(&rule, DBUS_TYPE_ARRAY, "i", &states);
    addNumber(states, DBUS_TYPE_INT32, focusStates);
    addNumber(states, DBUS_TYPE_INT32, 0);
    dbus_message_iter_close_container(&rule, &states);
    addNumber(rule, DBUS_TYPE_INT32, all);
    // Any attributes, roles and interfaces.
    for (const char* type : {"{ss}", "i", "s"}) {
        addEmptyArray(rule, type);
        addNumber(rule, DBUS_TYPE_INT32, all);
    }
    addFlag(rule, false); // the rule is not inverted
    dbus_message_iter_close_container(&arguments, &rule);
    addNumber(arguments, DBUS_TYPE_UINT32, 1); // in the order of the tree
    addNumber(arguments, DBUS_TYPE_INT32, 1);  // one match is enough
    addFlag(arguments, true);                  // in the whole tree
}

} // namespace

DBusMessagePointer AtSpiReader::call(const Element& element, const char* interface,
                                     const char* method) const {
    return dbusCall(element.program, element.path, interface, method);
}

std::vector<AtSpiReader::Element> AtSpiReader::elementsIn(DBusMessage* answer) {
    std::vector<Element> elements;
    DBusMessageIter place;
    if (!isReturn(answer) || !dbus_message_has_signature(answer, "a(so)") ||
        !dbus_message_iter_init(answer, &place))
        return elements;
    DBusMessageIter array;
    dbus_message_iter_recurse(&place, &array);
    for (; dbus_message_iter_get_arg_type(&array) == DBUS_TYPE_STRUCT; dbus_message_iter_next(&array)) {
        DBusMessageIter pair;
        const char* program = nullptr;
        const char* path = nullptr;
        dbus_message_iter_recurse(&array, &pair);
        dbus_message_iter_get_basic(&pair, &program);
        dbus_message_iter_next(&pair);
        dbus_message_iter_get_basic(&pair, &path);
        // libdbus ends a process that sends to an invalid name.
        if (dbus_validate_bus_name(program, nullptr))
            elements.push_back({program, path});
    }
    return elements;
}

std::optional<std::string> AtSpiReader::selectedText(std::int32_t processId, double deadline) {
    if (!bus_.connect(deadline))
        return std::nullopt;
    const auto programs = programsOf(processId, deadline);
    for (int attempt = 0; attempt < attempts && !programs.empty(); ++attempt) {
        if (attempt > 0)
            bus_.pause(secondsBetweenAttempts, deadline);
        for (const auto& program : programs) {
            if (const auto element = focusedElement(program, deadline))
                return selectionOf(*element, deadline);
        }
    }
    return std::nullopt;
}

std::vector<AtSpiReader::Element> AtSpiReader::programsOf(std::int32_t processId, double deadline) {
    const Element registry{"org.a11y.atspi.Registry", rootPath};
    auto programs = elementsIn(bus_.ask(call(registry, accessibleInterface, "GetChildren"), deadline).get());

    std::vector<DBusMessagePointer> questions;
    for (const auto& program : programs) {
        questions.push_back(
            dbusCall(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetConnectionUnixProcessID"));
        const char* name = program.program.c_str();
        dbus_message_append_args(questions.back().get(), DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
    }
    const auto answers = bus_.ask(questions, deadline);
    std::vector<Element> found;
    for (std::size_t i = 0; i < programs.size(); ++i) {
        if (numberIn<std::int32_t>(answers[i].get()) == processId)
            found.push_back(std::move(programs[i]));
    }
    return found;
}

std::optional<AtSpiReader::Element> AtSpiReader::focusedElement(const Element& program, double deadline) {
    auto question = call(program, collectionInterface, "GetMatches");
    addFocusRule(question.get());
    const auto answer = bus_.ask(std::move(question), deadline);
    // GTK 3, Firefox and LibreOffice search themselves; Qt and GTK 4 have no Collection.
    if (!isReturn(answer.get()))
        return searchForFocus(program, deadline);
    auto elements = elementsIn(answer.get());
    return elements.empty() ? std::nullopt : std::optional(std::move(elements.front()));
}

std::optional<AtSpiReader::Element> AtSpiReader::searchForFocus(const Element& program, double deadline) {
    auto level = elementsIn(bus_.ask(call(program, accessibleInterface, "GetChildren"), deadline).get());
    // One level at a time, with one batch of questions each: the time depends on the number of round trips,
    // not on their size.
    for (bool isTop = true; !level.empty() && level.size() <= maxElements; isTop = false) {
        std::vector<DBusMessagePointer> questions;
        for (const auto& element : level) {
            questions.push_back(call(element, accessibleInterface, "GetState"));
            questions.push_back(call(element, DBUS_INTERFACE_PROPERTIES, "Get"));
            const char* property = "ChildCount";
            dbus_message_append_args(questions.back().get(), DBUS_TYPE_STRING, &accessibleInterface,
                                     DBUS_TYPE_STRING, &property, DBUS_TYPE_INVALID);
        }
        const auto answers = bus_.ask(questions, deadline);

        questions.clear();
        for (std::size_t i = 0; i < level.size(); ++i) {
            const auto states = statesIn(answers[2 * i].get());
            if (!isTop && (states & focusStates) == focusStates)
                return level[i];
            const auto children = propertyIn(answers[2 * i + 1].get());
            if (has(states, isTop ? stateActive : stateShowing) && children > 0 && children <= maxChildren)
                questions.push_back(call(level[i], accessibleInterface, "GetChildren"));
        }
        level.clear();
        for (const auto& answer : bus_.ask(questions, deadline)) {
            auto children = elementsIn(answer.get());
            std::move(children.begin(), children.end(), std::back_inserter(level));
        }
    }
    return std::nullopt;
}

std::optional<std::string> AtSpiReader::selectionOf(const Element& element, double deadline) {
    std::vector<DBusMessagePointer> questions;
    questions.push_back(call(element, accessibleInterface, "GetRole"));
    questions.push_back(call(element, textInterface, "GetSelection"));
    const dbus_int32_t first = 0;
    dbus_message_append_args(questions.back().get(), DBUS_TYPE_INT32, &first, DBUS_TYPE_INVALID);
    const auto answers = bus_.ask(questions, deadline);
    dbus_int32_t begin = 0;
    dbus_int32_t end = 0;
    if (numberIn<std::uint32_t>(answers[0].get()).value_or(rolePasswordText) == rolePasswordText ||
        !isReturn(answers[1].get()) ||
        !dbus_message_get_args(answers[1].get(), nullptr, DBUS_TYPE_INT32, &begin, DBUS_TYPE_INT32, &end,
                               DBUS_TYPE_INVALID))
        return std::nullopt;
    if (begin > end)
        std::swap(begin, end);
    if (begin < 0 || begin == end)
        return std::nullopt;

    auto question = call(element, textInterface, "GetText");
    dbus_message_append_args(question.get(), DBUS_TYPE_INT32, &begin, DBUS_TYPE_INT32, &end,
                             DBUS_TYPE_INVALID);
    const auto answer = bus_.ask(std::move(question), deadline);
    const char* text = nullptr;
    if (!isReturn(answer.get()) ||
        !dbus_message_get_args(answer.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID))
        return std::nullopt;
    std::string selected = text;
    // This character replaces a picture, and in browsers every paragraph; text that contains it is
    // incomplete.
    if (selected.empty() || selected.find(objectReplacementCharacter) != std::string::npos)
        return std::nullopt;
    return selected;
}

} // namespace sonvale::adapters::freedesktop
