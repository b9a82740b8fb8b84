#include "adapters/x11/X11AccessibilityTree.h"

#include "adapters/freedesktop/AtSpiReader.h"
#include "adapters/freedesktop/TerminalPrograms.h"
#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/x11/X11Connection.h"
#include "adapters/x11/X11Windows.h"
#include "adapters/x11/selections/X11SelectionReader.h"
#include "adapters/x11/selections/X11Text.h"

#include "base/Log.h"
#include "base/Text.h"

#include <xcb/xtest.h>

#include <span>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

constexpr double answerSeconds = 0.5;
constexpr double selectionSeconds = 0.1;

const base::Logger& logger() {
    static const base::Logger instance("X11AccessibilityTree");
    return instance;
}

bool hasXTest(X11Connection& connection, double deadline) {
    const auto* extension = xcb_get_extension_data(connection.raw(), &xcb_test_id);
    if (!extension || !extension->present)
        return false;
    const auto version = xcb_test_get_version(connection.raw(), 2, 1);
    return connection.reply<xcb_test_get_version_reply_t>(version, deadline) != nullptr;
}

bool canOwnSelections(X11Connection& connection, double deadline) {
    // A selection that no other program uses, so that the user's own selections stay as they are.
    const auto selection = connection.atom("_SONVALE_PROBE", deadline);
    const auto time = connection.timestamp(deadline);
    if (selection == XCB_ATOM_NONE || !time)
        return false;
    xcb_set_selection_owner(connection.raw(), connection.window(), selection, *time);
    return connection.selectionOwner(selection, deadline) == connection.window();
}

} // namespace

X11AccessibilityTree::X11AccessibilityTree(const runtime::Clock& clock, std::string displayName,
                                           std::string sessionAddress)
    : clock_(clock)
    , displayName_(std::move(displayName))
    , bus_(std::make_unique<freedesktop::AccessibilityBus>(
          clock, [this](double deadline) { return busAddress(deadline); }, std::move(sessionAddress))) {}

X11AccessibilityTree::~X11AccessibilityTree() = default;

bool X11AccessibilityTree::isTrusted() {
    return missingRequirement() == nullptr;
}

bool X11AccessibilityTree::isTrustedWithPrompt() {
    const char* const missing = missingRequirement();
    if (missing)
        logger().error("Nothing can be typed into other programs: {}", missing);
    return missing == nullptr;
}

/// Returns what is missing, for the log; null if nothing is.
const char* X11AccessibilityTree::missingRequirement() {
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + answerSeconds;
    const char* missing = nullptr;
    if (!connect())
        missing = "the X server cannot be reached";
    else if (!hasXTest(*connection_, deadline))
        missing = "the X server has no XTEST, or does not answer";
    else if (!canOwnSelections(*connection_, deadline))
        missing = "the X server lets this program own no selection";
    drainEvents();
    return missing;
}

std::optional<std::string> X11AccessibilityTree::selectedText() {
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + selectionSeconds;
    if (!connect())
        return std::nullopt;
    std::optional<std::string> text;
    if (const auto window = activeWindow(*connection_, deadline)) {
        const auto style = freedesktop::keyStyleOf(windowClassOf(*connection_, *window, deadline).name);
        text = style == freedesktop::KeyStyle::xterm ? markedText(*window, deadline)
                                                     : textInFocus(*window, deadline);
    }
    drainEvents();
    return text;
}

bool X11AccessibilityTree::connect() {
    if (!connection_ || !connection_->isAlive()) {
        selections_.reset();
        connection_ = std::make_unique<X11Connection>(displayName_, clock_);
    }
    return connection_->isAlive();
}

std::string X11AccessibilityTree::busAddress(double deadline) {
    const auto name = connection_->atom("AT_SPI_BUS", deadline);
    const auto address = textOf(connection_->property(connection_->root(), name, deadline));
    return address.substr(0, address.find('\0'));
}

std::optional<std::string> X11AccessibilityTree::textInFocus(std::uint32_t window, double deadline) {
    const auto process = processOf(*connection_, window, deadline);
    return process ? freedesktop::AtSpiReader(*bus_).selectedText(*process, deadline) : std::nullopt;
}

std::optional<std::string> X11AccessibilityTree::markedText(std::uint32_t window, double deadline) {
    const auto owner = connection_->selectionOwner(XCB_ATOM_PRIMARY, deadline);
    // PRIMARY often belongs to another window, where the user has marked text last.
    if (!owner || !isSameClient(*connection_, *owner, window))
        return std::nullopt;
    if (!selections_) {
        selections_ = std::make_unique<X11SelectionReader>(
            *connection_, clock_, [this](const xcb_generic_event_t& event) { selections_->handle(event); });
    }
    const auto utf8 = connection_->atom("UTF8_STRING", deadline);
    const auto time = connection_->timestamp(deadline);
    const auto data = time ? selections_->fetch(XCB_ATOM_PRIMARY, utf8, *time, deadline) : std::nullopt;
    if (!data || data->type != utf8 || data->bytes.empty())
        return std::nullopt;
    return base::repairedUtf8(asText(std::span<const std::byte>(data->bytes)));
}

void X11AccessibilityTree::drainEvents() {
    // The remaining events do not matter, except for the rest of an answer that came too late.
    while (const auto event = connection_->takeEvent()) {
        if (selections_)
            selections_->handle(*event);
    }
}

} // namespace sonvale::adapters::x11
