#include "adapters/x11/X11AccessibilityTree.h"

#include "adapters/freedesktop/AtSpiReader.h"
#include "adapters/freedesktop/TerminalPrograms.h"
#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/x11/X11Client.h"
#include "adapters/x11/X11SelectionReader.h"
#include "adapters/x11/X11Text.h"
#include "adapters/x11/X11Windows.h"

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

bool hasXTest(X11Client& client, double deadline) {
    const auto* extension = xcb_get_extension_data(client.connection(), &xcb_test_id);
    if (!extension || !extension->present)
        return false;
    const auto version = xcb_test_get_version(client.connection(), 2, 1);
    return client.reply<xcb_test_get_version_reply_t>(version.sequence, deadline) != nullptr;
}

bool canOwnSelections(X11Client& client, double deadline) {
    // One that nobody else has to do with: the user's own selections stay as they are.
    const auto selection = client.atom("_SONVALE_PROBE", deadline);
    const auto time = client.timestamp(deadline);
    if (selection == XCB_ATOM_NONE || !time)
        return false;
    xcb_set_selection_owner(client.connection(), client.window(), selection, *time);
    const auto question = xcb_get_selection_owner(client.connection(), selection);
    const auto owner = client.reply<xcb_get_selection_owner_reply_t>(question.sequence, deadline);
    return owner && owner->owner == client.window();
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
    return whatIsMissing() == nullptr;
}

bool X11AccessibilityTree::isTrustedWithPrompt() {
    const char* const missing = whatIsMissing();
    if (missing)
        logger().error("Nothing can be typed into other programs: {}", missing);
    return missing == nullptr;
}

/// Null when nothing is.
const char* X11AccessibilityTree::whatIsMissing() {
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + answerSeconds;
    const char* missing = nullptr;
    if (!connect())
        missing = "the X server cannot be reached";
    else if (!hasXTest(*client_, deadline))
        missing = "the X server has no XTEST, or does not answer";
    else if (!canOwnSelections(*client_, deadline))
        missing = "the X server lets this program own no selection";
    dropEvents();
    return missing;
}

std::optional<std::string> X11AccessibilityTree::selectedText() {
    const posix::BrokenPipeGuard guard;
    const double deadline = clock_.now() + selectionSeconds;
    if (!connect())
        return std::nullopt;
    std::optional<std::string> text;
    if (const auto window = activeWindow(*client_, deadline)) {
        const auto windowClass = client_->property(*window, XCB_ATOM_WM_CLASS, false, deadline);
        const auto style = freedesktop::keyStyleOf(windowClassIn(windowClass.get()));
        text = style == freedesktop::KeyStyle::xterm ? markedText(*window, deadline)
                                                     : textInFocus(*window, deadline);
    }
    dropEvents();
    return text;
}

bool X11AccessibilityTree::connect() {
    if (!client_ || !client_->isAlive()) {
        selections_.reset();
        client_ = std::make_unique<X11Client>(displayName_, clock_);
    }
    return client_->isAlive();
}

std::string X11AccessibilityTree::busAddress(double deadline) {
    const auto address =
        client_->property(client_->root(), client_->atom("AT_SPI_BUS", deadline), false, deadline);
    if (!address || address->format != 8)
        return {};
    const auto bytes = bytesOf(*address);
    const auto text = textOf(std::span<const std::byte>(bytes));
    return std::string(text.substr(0, text.find('\0')));
}

std::optional<std::string> X11AccessibilityTree::textInFocus(std::uint32_t window, double deadline) {
    const auto process = processOf(*client_, window, deadline);
    return process ? freedesktop::AtSpiReader(*bus_).selectedText(*process, deadline) : std::nullopt;
}

std::optional<std::string> X11AccessibilityTree::markedText(std::uint32_t window, double deadline) {
    const auto question = xcb_get_selection_owner(client_->connection(), XCB_ATOM_PRIMARY);
    const auto owner = client_->reply<xcb_get_selection_owner_reply_t>(question.sequence, deadline);
    // It is often that of another window, where something was marked last.
    if (!owner || !isSameClient(client_->connection(), owner->owner, window))
        return std::nullopt;
    if (!selections_) {
        selections_ = std::make_unique<X11SelectionReader>(
            *client_, clock_, [this](const xcb_generic_event_t& event) { selections_->handle(event); });
    }
    const auto utf8 = client_->atom("UTF8_STRING", deadline);
    const auto time = client_->timestamp(deadline);
    const auto data = time ? selections_->fetch(XCB_ATOM_PRIMARY, utf8, *time, deadline) : std::nullopt;
    if (!data || data->type != utf8 || data->bytes.empty())
        return std::nullopt;
    return base::repairedUtf8(textOf(std::span<const std::byte>(data->bytes)));
}

void X11AccessibilityTree::dropEvents() {
    // What the questions left behind says nothing more, but for the rest of an answer that came too late.
    while (const auto event = client_->takeEvent()) {
        if (selections_)
            selections_->handle(*event);
    }
}

} // namespace sonvale::adapters::x11
