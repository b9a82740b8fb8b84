#include "adapters/x11/X11Workspace.h"

#include "adapters/freedesktop/BundleIdentifiers.h"
#include "adapters/posix/AccountName.h"
#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/x11/X11Client.h"
#include "adapters/x11/X11Text.h"
#include "adapters/x11/X11Windows.h"

#include "base/Text.h"

#include <array>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// For all questions together; the main actor waits for them.
constexpr double answerSeconds = 0.2;

/// The text of a property of bytes; empty when there is none.
std::string textIn(const xcb_get_property_reply_t* property) {
    if (!property || property->format != 8)
        return {};
    const auto bytes = bytesOf(*property);
    return std::string(textOf(std::span<const std::byte>(bytes)));
}

/// The two strings of WM_CLASS, each ended by a zero byte.
std::pair<std::string, std::string> partsOfClass(const std::string& value) {
    const auto end = value.find('\0');
    if (end == std::string::npos)
        return {value, {}};
    const auto className = value.substr(end + 1);
    return {value.substr(0, end), className.substr(0, className.find('\0'))};
}

} // namespace

X11Workspace::X11Workspace(const runtime::Clock& clock, const std::string& displayName,
                           freedesktop::UrlOpener::Environment environment)
    : clock_(clock)
    , opener_(std::move(environment)) {
    const posix::BrokenPipeGuard guard;
    client_ = std::make_unique<X11Client>(displayName, clock);
}

X11Workspace::~X11Workspace() = default;

std::optional<platform::FrontApplication> X11Workspace::frontmostApplication() {
    if (!client_->isAlive())
        return std::nullopt;
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + answerSeconds;
    const auto atoms = client_->atoms({"_NET_WM_PID"}, deadline);

    const auto window = activeWindow(*client_, deadline);
    if (!window)
        return std::nullopt;

    // All asked at once: one round trip, and one state of the window.
    const auto ask = [&](xcb_atom_t property) {
        return xcb_get_property(client_->connection(), 0, *window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                4096)
            .sequence;
    };
    const unsigned int questions[] = {ask(XCB_ATOM_WM_CLASS), ask(atoms[0])};
    std::array<XcbPointer<xcb_get_property_reply_t>, 2> answers;
    for (std::size_t i = 0; i < answers.size(); ++i)
        answers[i] = client_->reply<xcb_get_property_reply_t>(questions[i], deadline);
    // Nothing is left in the queue to grow: the answers' neighbours are errors of windows that went away.
    while (client_->takeEvent()) {
    }
    const auto& [windowClass, processId] = answers;
    if (!windowClass)
        return std::nullopt;

    platform::FrontApplication application;
    const auto [rawInstance, rawClass] = partsOfClass(textIn(windowClass.get()));
    const auto instance = base::repairedUtf8(rawInstance);
    const auto className = base::repairedUtf8(rawClass);
    application.bundleIdentifier = freedesktop::bundleIdentifier(instance, className);
    // The window's title names what is open in it.
    if (const auto& name = className.empty() ? instance : className; !name.empty())
        application.localizedName = name;
    const auto numbers = processId ? numbersOf(*processId) : std::vector<std::uint32_t>();
    if (!numbers.empty())
        application.processIdentifier = static_cast<std::int32_t>(numbers.front());
    return application;
}

bool X11Workspace::openURL(const std::string& address) {
    return opener_.open(address);
}

std::string X11Workspace::fullUserName() {
    return posix::fullNameOfAccount();
}

} // namespace sonvale::adapters::x11
