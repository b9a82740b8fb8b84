#include "adapters/x11/selections/X11Clipboard.h"

#include "base/Log.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// For a question that the server answers without another program.
constexpr double serverSeconds = 0.5;
/// For the owner's text. An owner that needs longer is a program that hangs.
constexpr double ownerSeconds = 0.5;
/// Time for other encodings of a picture that is there as PNG. Qt's programs need seconds for each.
constexpr double encodingSeconds = 0.5;
/// Until then the owner is asked for one form at a time, as the oldest programs need it.
constexpr double oneByOneSeconds = 0.4;
constexpr double handOverSeconds = 1;
constexpr int maxTextAttempts = 2;

/// Lists names of forms for the log. Another program has chosen them, so they are shortened and made
/// printable.
std::string listOf(const std::vector<std::string>& names) {
    constexpr std::size_t maxLength = 60;
    std::string list;
    for (const auto& name : names) {
        list += list.empty() ? "" : ", ";
        for (const char c : name.substr(0, maxLength))
            list += c >= ' ' && c <= '~' ? c : '?';
    }
    return list;
}

/// Asks the server to report each change of the selection. Returns the number of the reporting events, or -1
/// if the server cannot report them.
int watchChanges(X11Connection& connection, xcb_atom_t selection) {
    const auto* extension = xcb_get_extension_data(connection.raw(), &xcb_xfixes_id);
    if (!extension || !extension->present)
        return -1;
    const auto version = xcb_xfixes_query_version(connection.raw(), 2, 0);
    connection.reply<xcb_xfixes_query_version_reply_t>(version, connection.deadlineIn(serverSeconds));
    xcb_xfixes_select_selection_input(connection.raw(), connection.root(), selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    connection.synchronize(connection.deadlineIn(serverSeconds));
    return extension->first_event + XCB_XFIXES_SELECTION_NOTIFY;
}

} // namespace

X11Clipboard::X11Clipboard(const runtime::Clock& clock, const std::string& displayName)
    : clock_(clock)
    , connection_(displayName, clock)
    , server_(connection_, clock)
    , reader_(connection_, clock, [this](const xcb_generic_event_t& event) { dispatch(event); })
    , fetch_(connection_, clock, {})
    , primary_(connection_, server_, [this](xcb_timestamp_t time) {
        return fetchText(XCB_ATOM_PRIMARY, time, clock_.now() + ownerSeconds);
    }) {
    if (!connection_.isAlive())
        return;
    const auto atoms = connection_.atoms({"CLIPBOARD", "SAVE_TARGETS", "CLIPBOARD_MANAGER"},
                                         connection_.deadlineIn(serverSeconds));
    clipboard_ = atoms[0];
    saveTargets_ = atoms[1];
    clipboardManager_ = atoms[2];
    selectionEvent_ = watchChanges(connection_, clipboard_);
}

std::int64_t X11Clipboard::changeCount() {
    connection_.synchronize(connection_.deadlineIn(serverSeconds));
    dispatchPending();
    return changeCount_;
}

X11SelectionServer::ContentsPointer X11Clipboard::ownContents() {
    dispatchPending();
    return connection_.isAlive() ? server_.contents(clipboard_) : nullptr;
}

void X11Clipboard::prefetch() {
    dispatchPending();
    if (!connection_.isAlive() || server_.owns(clipboard_) || waiting_)
        return;
    endFetch();
    isPrefetching_ = true;
    startFetch();
}

void X11Clipboard::dropPrefetch() {
    dispatchPending();
    isPrefetching_ = false;
    // A reader may wait for it; late forms belong to an insertion.
    if (!waiting_ && late_ == Late::none)
        fetch_.stop();
}

void X11Clipboard::readItems(ItemsReady ready) {
    connection_.synchronize(connection_.deadlineIn(serverSeconds));
    dispatchPending();
    if (late_ != Late::none)
        endFetch();
    const bool isCurrent = !fetch_.isIdle() && fetchedCount_ == changeCount_;
    if (!connection_.isAlive() || (!isCurrent && !startFetch())) {
        ready(std::nullopt);
        return;
    }
    waiting_ = Waiting{std::move(ready), clock_.now()};
    advance();
}

bool X11Clipboard::startFetch() {
    const auto time = connection_.timestamp(connection_.deadlineIn(serverSeconds));
    dispatchPending();
    fetchedCount_ = changeCount_;
    fetch_.stop();
    if (!time)
        return false;
    if (hasOwner(connection_, clipboard_, connection_.deadlineIn(serverSeconds)))
        fetch_.start(clipboard_, *time);
    else
        fetch_.completeEmpty();
    return true;
}

void X11Clipboard::advance() {
    const bool isOutdated = fetchedCount_ != changeCount_;
    // The forms of two owners must not be mixed.
    if (late_ == Late::none && isOutdated && (isPrefetching_ || waiting_) && !server_.owns(clipboard_))
        startFetch();
    fetch_.advance();
    if (waiting_)
        answerItems();
    else if (late_ == Late::restored)
        addLateForms();
}

/// Answers the reader of the items if everything has arrived, or if it must not wait any longer.
void X11Clipboard::answerItems() {
    const double waited = clock_.now() - waiting_->since;
    if (waited >= oneByOneSeconds)
        fetch_.askForAll();
    const bool isEnough = fetch_.isComplete() || waited >= itemsSeconds ||
                          (waited >= encodingSeconds && fetch_.hasAllButEncodings()) ||
                          !connection_.isAlive();
    if (!isEnough)
        return;

    const auto ready = std::move(waiting_->ready);
    waiting_.reset();
    fetch_.askForAllNow();
    order_ = fetch_.names();
    std::vector<platform::PasteboardItem> items;
    for (auto& form : fetch_.takeArrived()) {
        if (items.empty())
            items.emplace_back();
        items.front().representations.push_back(std::move(form.representation));
    }
    // Idle if the server did not answer when the fetch was to start.
    if (fetch_.isComplete() || fetch_.isIdle())
        logAndEndFetch();
    else
        late_ = Late::kept;
    ready(connection_.isAlive() ? std::optional(std::move(items)) : std::nullopt);
}

/// Adds to the offer the forms that have arrived since the items were read.
void X11Clipboard::addLateForms() {
    platform::PasteboardItem item;
    for (auto& form : fetch_.takeArrived())
        item.representations.push_back(std::move(form.representation));
    const auto present = server_.contents(clipboard_);
    if (present && !item.representations.empty()) {
        auto contents = *present;
        std::vector<platform::PasteboardItem> items;
        items.push_back(std::move(item));
        contents.merge(X11SelectionContents::fromItems(std::move(items)), order_);
        contents.resolve(connection_, connection_.deadlineIn(serverSeconds));
        server_.update(clipboard_, std::make_shared<const X11SelectionContents>(std::move(contents)));
    }
    if (!fetch_.isComplete())
        return;
    logAndEndFetch();
    if (server_.isUnfilled(clipboard_))
        server_.release(clipboard_);
}

/// Ends a fetch of items that were read.
void X11Clipboard::logAndEndFetch() {
    if (const auto missing = fetch_.missing(); !missing.empty())
        base::Logger("Clipboard")
            .error("Not restored, because its owner was too slow or offered too much: {}", listOf(missing));
    else if (!fetch_.hasList())
        base::Logger("Clipboard").error("Not restored, because its owner did not answer");
    endFetch();
}

void X11Clipboard::endFetch() {
    fetch_.stop();
    late_ = Late::none;
}

std::optional<std::string> X11Clipboard::readText() {
    const double start = clock_.now();
    for (int attempt = 1;; ++attempt) {
        const auto time = connection_.timestamp(start + serverSeconds);
        if (!time || !hasOwner(connection_, clipboard_, connection_.deadlineIn(serverSeconds)))
            return std::nullopt;

        dispatchPending();
        const auto count = changeCount_;
        auto text = fetchText(clipboard_, *time, start + ownerSeconds);
        if (changeCount_ == count || attempt == maxTextAttempts)
            return text;
    }
}

void X11Clipboard::clearContents() {
    dispatchPending();
    primary_.release();
    if (late_ == Late::restored)
        late_ = Late::kept;
    server_.claimUnfilled(clipboard_, connection_.deadlineIn(serverSeconds));
}

void X11Clipboard::writeText(X11SelectionContents contents) {
    dispatchPending();
    primary_.release();
    contents.resolve(connection_, connection_.deadlineIn(serverSeconds));
    if (!contents.items.empty())
        server_.fill(clipboard_, std::make_shared<const X11SelectionContents>(std::move(contents)),
                     connection_.deadlineIn(serverSeconds));
}

void X11Clipboard::writeItems(X11SelectionContents contents) {
    writeText(std::move(contents));
    if (late_ == Late::none)
        return;
    late_ = Late::restored;
    addLateForms();
}

void X11Clipboard::offerPrimary() {
    X11SelectionContents texts;
    if (const auto own = ownContents())
        texts = own->textOnly();
    else if (const auto text = readText())
        texts = X11SelectionContents::fromText(*text);
    primary_.offer(std::move(texts));
}

void X11Clipboard::handOver() {
    connection_.synchronize(connection_.deadlineIn(serverSeconds));
    const auto contents = ownContents();
    if (!contents || contents->items.empty() ||
        !hasOwner(connection_, clipboardManager_, connection_.deadlineIn(serverSeconds)))
        return;
    const auto time = connection_.timestamp(connection_.deadlineIn(serverSeconds));
    const auto property = connection_.atom("_SONVALE_SAVE_TARGETS", connection_.deadlineIn(serverSeconds));
    if (!time || property == XCB_ATOM_NONE)
        return;
    const auto targets = contents->targets();
    xcb_change_property(connection_.raw(), XCB_PROP_MODE_REPLACE, connection_.window(), property,
                        XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(targets.size()), targets.data());
    xcb_convert_selection(connection_.raw(), connection_.window(), clipboardManager_, saveTargets_, property,
                          *time);

    const double deadline = clock_.now() + handOverSeconds;
    while (!isHandedOver_ && clock_.now() < deadline) {
        const auto event = connection_.waitForEvent(deadline);
        if (!event)
            return;
        dispatch(*event);
    }
}

void X11Clipboard::serveAndWait(int otherDescriptor) {
    dispatchPending();
    advance();
    waitForLateForms();
    server_.expire();
    connection_.waitForInput(otherDescriptor, nextDeadline());
}

/// A clipboard that was emptied and gets no contents at once has been restored as empty. If the earlier owner
/// is still sending, its forms belong there.
void X11Clipboard::waitForLateForms() {
    if (late_ != Late::kept || clock_.now() < server_.fillDeadline(clipboard_))
        return;
    late_ = Late::restored;
    server_.waitForContents(clipboard_, std::numeric_limits<double>::infinity());
    addLateForms();
}

double X11Clipboard::nextDeadline() const {
    double next = std::min(server_.nextDeadline(), fetch_.nextDeadline());
    if (!waiting_)
        return next;
    for (const double step : {oneByOneSeconds, encodingSeconds, itemsSeconds}) {
        if (clock_.now() < waiting_->since + step)
            return std::min(next, waiting_->since + step);
    }
    return next;
}

void X11Clipboard::dispatch(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == selectionEvent_) {
        noteChange(event);
        return;
    }
    if (type == XCB_SELECTION_NOTIFY &&
        reinterpret_cast<const xcb_selection_notify_event_t&>(event).selection == clipboardManager_)
        isHandedOver_ = true;
    server_.handle(event);
    reader_.handle(event);
    fetch_.handle(event);
}

void X11Clipboard::noteChange(const xcb_generic_event_t& event) {
    const auto& change = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
    if (change.selection != clipboard_)
        return;
    // The release of what `clearContents` has claimed is the second half of one change.
    if (change.owner == XCB_WINDOW_NONE && server_.isOwnRelease(clipboard_, event.full_sequence))
        return;
    ++changeCount_;
    reader_.abandon();
    // What this program writes meanwhile does not affect forms that are still to come.
    const bool isLateInUse =
        late_ == Late::kept || (late_ == Late::restored && change.owner == connection_.window());
    if (!isLateInUse)
        endFetch();
}

void X11Clipboard::dispatchPending() {
    while (const auto event = connection_.takeEvent())
        dispatch(*event);
}

std::optional<std::string> X11Clipboard::fetchText(xcb_atom_t selection, xcb_timestamp_t time,
                                                   double deadline) {
    const auto count = changeCount_;
    for (const std::string name : target::plainText) {
        const auto data = reader_.fetch(
            selection, connection_.atom(name, connection_.deadlineIn(serverSeconds)), time, deadline);
        if (data && data->format == 8)
            return target::decodedText(name, data->bytes);
        if (clock_.now() >= deadline || changeCount_ != count)
            break;
    }
    return std::nullopt;
}

} // namespace sonvale::adapters::x11
