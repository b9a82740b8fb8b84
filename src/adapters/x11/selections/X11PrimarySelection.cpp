#include "adapters/x11/selections/X11PrimarySelection.h"

#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// For a question that the server answers without another program.
constexpr double serverSeconds = 0.5;

} // namespace

X11PrimarySelection::X11PrimarySelection(
    X11Connection& connection, X11SelectionServer& server,
    std::function<std::optional<std::string>(xcb_timestamp_t time)> readText)
    : connection_(connection)
    , server_(server)
    , readText_(std::move(readText)) {}

void X11PrimarySelection::offer(X11SelectionContents texts) {
    texts.resolve(connection_, connection_.deadlineIn(serverSeconds));
    if (texts.targets().empty())
        return;
    if (!hasOffered_)
        former_ = std::make_shared<const X11SelectionContents>(readMarked());
    hasOffered_ =
        server_.claim(XCB_ATOM_PRIMARY, std::make_shared<const X11SelectionContents>(std::move(texts)),
                      connection_.deadlineIn(serverSeconds));
}

/// Returns the text that is marked in any program; no forms if there is none.
X11SelectionContents X11PrimarySelection::readMarked() {
    if (const auto own = server_.contents(XCB_ATOM_PRIMARY))
        return *own;
    X11SelectionContents texts;
    const auto time = connection_.timestamp(connection_.deadlineIn(serverSeconds));
    if (!time || !hasOwner(connection_, XCB_ATOM_PRIMARY, connection_.deadlineIn(serverSeconds)))
        return texts;
    if (const auto text = readText_(*time)) {
        texts = X11SelectionContents::fromText(*text);
        texts.resolve(connection_, connection_.deadlineIn(serverSeconds));
    }
    return texts;
}

void X11PrimarySelection::release() {
    if (!std::exchange(hasOffered_, false))
        return;
    const auto former = std::exchange(former_, nullptr);
    if (!server_.owns(XCB_ATOM_PRIMARY))
        return;
    if (former && !former->targets().empty())
        server_.update(XCB_ATOM_PRIMARY, former);
    else
        server_.release(XCB_ATOM_PRIMARY);
}

} // namespace sonvale::adapters::x11
