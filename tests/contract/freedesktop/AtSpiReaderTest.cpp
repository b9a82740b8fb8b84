#include "adapters/freedesktop/AtSpiReader.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateBus.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <thread>

namespace sonvale::adapters::freedesktop {

namespace {

constexpr std::uint64_t focusedText = 1u << 11 | 1u << 12 | 1u << 25;
constexpr std::uint64_t active = 1u << 1;
constexpr std::uint64_t showing = 1u << 25;

/// An object as the program reports it. The paths of objects are numbers.
struct Reported {
    std::uint64_t states = showing;
    std::vector<int> children = {};
    std::uint32_t role = 61;
    std::int32_t begin = 0;
    std::int32_t end = 0;
    std::string text = {};
    std::string program = {};     ///< the program that the children are reported for; empty means their own
    std::int32_t childCount = -1; ///< -1 means the real number
};

/// A program that may report nonsense, on a bus on which it is the registry too. Object 0 is its root.
class ScriptedProgram {
public:
    explicit ScriptedProgram(std::map<int, Reported> objects)
        : objects_(std::move(objects)) {
        connection_ = dbus_connection_open_private(bus_.address().c_str(), nullptr);
        dbus_bus_register(connection_, nullptr);
        dbus_bus_request_name(connection_, "org.a11y.atspi.Registry", 0, nullptr);
        thread_ = std::thread([this] {
            while (!isEnding_ && dbus_connection_read_write(connection_, 5)) {
                while (auto* message = dbus_connection_pop_message(connection_)) {
                    answer(message);
                    dbus_message_unref(message);
                }
            }
        });
    }
    ~ScriptedProgram() {
        isEnding_ = true;
        thread_.join();
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
    }
    ScriptedProgram(const ScriptedProgram&) = delete;
    ScriptedProgram& operator=(const ScriptedProgram&) = delete;

    std::string address() const { return bus_.address(); }
    int questions() const { return questions_; }

private:
    static std::string pathOf(int number) {
        return number == 0 ? "/org/a11y/atspi/accessible/root" : "/object/" + std::to_string(number);
    }

    void answer(DBusMessage* message) {
        if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_METHOD_CALL)
            return;
        ++questions_;
        const std::string path = dbus_message_get_path(message);
        const std::string member = dbus_message_get_member(message);
        // The registry and the program have the same root; only calls to the registry use this name.
        const bool isRegistry = dbus_message_has_destination(message, "org.a11y.atspi.Registry");
        const auto reported = objectAt(path);
        DBusMessagePointer reply(dbus_message_new_method_return(message));
        DBusMessageIter place;
        dbus_message_iter_init_append(reply.get(), &place);
        if (member == "GetChildren") {
            addChildren(place, isRegistry ? Reported{.children = {0}} : reported);
        } else if (member == "GetState") {
            addStates(place, reported);
        } else if (member == "Get") {
            addChildCount(place, reported);
        } else if (member == "GetRole") {
            dbus_message_iter_append_basic(&place, DBUS_TYPE_UINT32, &reported.role);
        } else if (member == "GetSelection") {
            dbus_message_iter_append_basic(&place, DBUS_TYPE_INT32, &reported.begin);
            dbus_message_iter_append_basic(&place, DBUS_TYPE_INT32, &reported.end);
        } else if (member == "GetText") {
            addText(message, place, reported);
        } else {
            reply.reset(dbus_message_new_error(message, DBUS_ERROR_UNKNOWN_METHOD, "not here"));
        }
        dbus_connection_send(connection_, reply.get(), nullptr);
    }

    Reported objectAt(const std::string& path) const {
        for (const auto& [number, object] : objects_) {
            if (pathOf(number) == path)
                return object;
        }
        return {};
    }

    static void addStates(DBusMessageIter& place, const Reported& reported) {
        const std::uint32_t halves[] = {static_cast<std::uint32_t>(reported.states), 0};
        const std::uint32_t* first = halves;
        DBusMessageIter array;
        dbus_message_iter_open_container(&place, DBUS_TYPE_ARRAY, "u", &array);
        dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_UINT32, &first, 2);
        dbus_message_iter_close_container(&place, &array);
    }

    static void addChildCount(DBusMessageIter& place, const Reported& reported) {
        const auto children = static_cast<std::int32_t>(reported.children.size());
        const std::int32_t count = reported.childCount >= 0 ? reported.childCount : children;
        DBusMessageIter variant;
        dbus_message_iter_open_container(&place, DBUS_TYPE_VARIANT, "i", &variant);
        dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, &count);
        dbus_message_iter_close_container(&place, &variant);
    }

    void addChildren(DBusMessageIter& place, const Reported& reported) const {
        DBusMessageIter array;
        dbus_message_iter_open_container(&place, DBUS_TYPE_ARRAY, "(so)", &array);
        for (const int child : reported.children) {
            const auto path = pathOf(child);
            const char* words[] = {reported.program.empty() ? dbus_bus_get_unique_name(connection_)
                                                            : reported.program.c_str(),
                                   path.c_str()};
            DBusMessageIter pair;
            dbus_message_iter_open_container(&array, DBUS_TYPE_STRUCT, nullptr, &pair);
            dbus_message_iter_append_basic(&pair, DBUS_TYPE_STRING, &words[0]);
            dbus_message_iter_append_basic(&pair, DBUS_TYPE_OBJECT_PATH, &words[1]);
            dbus_message_iter_close_container(&array, &pair);
        }
        dbus_message_iter_close_container(&place, &array);
    }

    static void addText(DBusMessage* question, DBusMessageIter& place, const Reported& reported) {
        dbus_int32_t begin = 0;
        dbus_int32_t end = 0;
        dbus_message_get_args(question, nullptr, DBUS_TYPE_INT32, &begin, DBUS_TYPE_INT32, &end,
                              DBUS_TYPE_INVALID);
        const auto part = reported.text.substr(static_cast<std::size_t>(begin),
                                               static_cast<std::size_t>(std::max(end - begin, 0)));
        const char* text = part.c_str();
        dbus_message_iter_append_basic(&place, DBUS_TYPE_STRING, &text);
    }

    tests::PrivateBus bus_{{}};
    const std::map<int, Reported> objects_;
    DBusConnection* connection_ = nullptr;
    std::atomic<bool> isEnding_ = false;
    std::atomic<int> questions_ = 0;
    std::thread thread_;
};

std::optional<std::string> textFrom(const ScriptedProgram& program, std::int32_t processId = getpid(),
                                    double seconds = 5) {
    const runtime::SystemClock clock;
    AccessibilityBus bus(clock, [&](double) { return program.address(); }, "unix:path=/nowhere");
    return AtSpiReader(bus).selectedText(processId, clock.now() + seconds);
}

/// Returns a window with one element in it.
std::map<int, Reported> windowWith(Reported element) {
    return {{0, {.children = {1}}}, {1, {.states = active, .children = {2}}}, {2, std::move(element)}};
}

Reported editor(std::int32_t begin, std::int32_t end, std::string text) {
    return {.states = focusedText, .begin = begin, .end = end, .text = std::move(text)};
}

} // namespace

TEST(AtSpiReader, FindsTheFocusInTheActiveWindow) {
    const ScriptedProgram program({{0, {.children = {1, 2}}},
                                   {1, {.states = 0, .children = {11}}},
                                   {11, editor(0, 6, "behind")},
                                   {2, {.states = active, .children = {21, 22, 23}}},
                                   {21, {.states = 0, .children = {211}}},
                                   {211, editor(0, 6, "hidden")},
                                   {22, {.states = showing | 1u << 12}},
                                   {23, {.children = {231}}},
                                   {231, editor(4, 7, "one two three")}});
    EXPECT_EQ(textFrom(program), "two");
}

TEST(AtSpiReader, AsksOnlyTheProgramOfTheProcess) {
    const ScriptedProgram program(windowWith(editor(0, 3, "one")));
    EXPECT_EQ(textFrom(program, getpid() + 1), std::nullopt);
    EXPECT_EQ(program.questions(), 1) << "the registry";
    EXPECT_EQ(textFrom(program), "one");
}

TEST(AtSpiReader, AcceptsTheEndsOfASelectionInEitherOrder) {
    EXPECT_EQ(textFrom(ScriptedProgram(windowWith(editor(7, 4, "one two three")))), "two");
}

TEST(AtSpiReader, ReturnsNoTextWithoutASelection) {
    for (const auto& [begin, end] : {std::pair(3, 3), std::pair(0, 0), std::pair(-1, -1), std::pair(-1, 3)})
        EXPECT_EQ(textFrom(ScriptedProgram(windowWith(editor(begin, end, "one two")))), std::nullopt);
    EXPECT_EQ(textFrom(ScriptedProgram(windowWith(editor(0, 3, "")))), std::nullopt);
}

TEST(AtSpiReader, IgnoresTheDotsOfAPassword) {
    auto password = editor(0, 3, "***");
    password.role = 40;
    EXPECT_EQ(textFrom(ScriptedProgram(windowWith(password))), std::nullopt);
}

TEST(AtSpiReader, ReturnsNoTextWithoutFocus) {
    EXPECT_EQ(textFrom(ScriptedProgram(windowWith({.states = showing}))), std::nullopt);
    EXPECT_EQ(textFrom(ScriptedProgram({})), std::nullopt);
}

TEST(AtSpiReader, EndsInATreeThatContainsItself) {
    std::vector<int> all(100, 2);
    const ScriptedProgram program(windowWith({.children = all}));
    const double before = tests::monotonicSeconds();
    EXPECT_EQ(textFrom(program, getpid(), 0.1), std::nullopt);
    EXPECT_LT(tests::monotonicSeconds() - before, 5);
}

TEST(AtSpiReader, DoesNotAskForTheChildrenOfALargeTable) {
    auto objects = windowWith({.children = {3}, .childCount = 1000000});
    objects[3] = editor(0, 3, "one");
    EXPECT_EQ(textFrom(ScriptedProgram(objects)), std::nullopt);
}

TEST(AtSpiReader, IgnoresInvalidBusNames) {
    for (const char* name : {"no name", ".", ":", "\u00FC.x", "org.a11y.nobody"}) {
        auto objects = windowWith({.children = {3}, .program = name});
        objects[3] = editor(0, 3, "one");
        EXPECT_EQ(textFrom(ScriptedProgram(objects)), std::nullopt) << name;
    }
}

} // namespace sonvale::adapters::freedesktop
