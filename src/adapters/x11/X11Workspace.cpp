#include "adapters/x11/X11Workspace.h"

#include "adapters/freedesktop/BundleIdentifiers.h"
#include "adapters/posix/AccountName.h"
#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/x11/X11Connection.h"
#include "adapters/x11/X11Windows.h"

#include "base/Text.h"

#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// For all questions together. The main actor waits for them.
constexpr double answerSeconds = 0.2;

} // namespace

X11Workspace::X11Workspace(const runtime::Clock& clock, const std::string& displayName,
                           freedesktop::UrlOpener::Environment environment)
    : clock_(clock)
    , opener_(std::move(environment)) {
    const posix::BrokenPipeGuard guard;
    connection_ = std::make_unique<X11Connection>(displayName, clock);
}

X11Workspace::~X11Workspace() = default;

std::optional<platform::FrontApplication> X11Workspace::frontmostApplication() {
    if (!connection_->isAlive())
        return std::nullopt;
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + answerSeconds;
    const auto processName = connection_->atom("_NET_WM_PID", deadline);
    const auto window = activeWindow(*connection_, deadline);
    if (!window)
        return std::nullopt;

    // Both are asked for at once: one round trip, and one state of the window.
    const auto classRequest = connection_->requestProperty(*window, XCB_ATOM_WM_CLASS);
    const auto processRequest = connection_->requestProperty(*window, processName);
    const auto classProperty = connection_->reply<xcb_get_property_reply_t>(classRequest, deadline);
    const auto processProperty = connection_->reply<xcb_get_property_reply_t>(processRequest, deadline);
    // Events must not pile up: they are only errors about windows that were destroyed.
    while (connection_->takeEvent()) {
    }
    if (!classProperty)
        return std::nullopt;

    platform::FrontApplication application;
    const auto windowClass = windowClassIn(classProperty);
    const auto instance = base::repairedUtf8(windowClass.instance);
    const auto className = base::repairedUtf8(windowClass.name);
    application.bundleIdentifier = freedesktop::bundleIdentifier(instance, className);
    // Not the window's title, which names what is open in it.
    if (const auto& name = className.empty() ? instance : className; !name.empty())
        application.localizedName = name;
    if (const auto numbers = numbersOf(processProperty); !numbers.empty())
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
