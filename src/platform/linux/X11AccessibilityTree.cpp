#include "platform/linux/X11AccessibilityTree.h"

#include "platform/linux/BrokenPipeGuard.h"
#include "platform/linux/X11Client.h"

#include <xcb/xtest.h>

namespace sonvale::platform::linux {

namespace {

constexpr double answerSeconds = 0.5;

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

X11AccessibilityTree::X11AccessibilityTree(const runtime::Clock& clock, std::string displayName)
    : clock_(clock)
    , displayName_(std::move(displayName)) {}

X11AccessibilityTree::~X11AccessibilityTree() = default;

bool X11AccessibilityTree::isTrusted() {
    const BrokenPipeGuard guard;
    if (!client_ || !client_->isAlive())
        client_ = std::make_unique<X11Client>(displayName_, clock_);
    const double deadline = clock_.now() + answerSeconds;
    const bool isTrusted =
        client_->isAlive() && hasXTest(*client_, deadline) && canOwnSelections(*client_, deadline);
    // What the questions left behind says nothing more.
    while (client_->takeEvent()) {
    }
    return isTrusted;
}

} // namespace sonvale::platform::linux
