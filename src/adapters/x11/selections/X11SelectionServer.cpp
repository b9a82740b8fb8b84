#include "adapters/x11/selections/X11SelectionServer.h"

#include <limits>

namespace sonvale::adapters::x11 {

namespace {

constexpr double replySeconds = 0.5;
constexpr double fillSeconds = 0.02;
constexpr double stalledTransferSeconds = 10;
constexpr std::size_t maxWaitingRequests = 64;
constexpr std::size_t maxPairs = 256;
constexpr std::size_t maxPieceBytes = 256 * 1024;

/// Returns whether the server handled `earlier` before `later`. The numbers wrap around.
bool isBefore(unsigned int earlier, unsigned int later) {
    return static_cast<int>(earlier - later) < 0;
}

} // namespace

X11SelectionServer::X11SelectionServer(X11Connection& connection, const runtime::Clock& clock)
    : connection_(connection)
    , clock_(clock) {
    if (!connection_.isAlive())
        return;
    const auto atoms =
        connection_.atoms({"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS", "INCR", "NULL", "ATOM_PAIR"},
                          connection_.deadlineIn(replySeconds));
    targets_ = atoms[0];
    multiple_ = atoms[1];
    timestamp_ = atoms[2];
    saveTargets_ = atoms[3];
    incr_ = atoms[4];
    null_ = atoms[5];
    atomPair_ = atoms[6];
    // The request's own fields need some space besides the data.
    const std::size_t maxRequest = xcb_get_maximum_request_length(connection_.raw()) * std::size_t{4};
    chunkBytes_ = std::min(maxPieceBytes, maxRequest - 128) / 4 * 4;
}

bool X11SelectionServer::claim(xcb_atom_t selection, ContentsPointer contents, double deadline) {
    if (auto former = offers_.extract(selection)) {
        for (const auto& request : former.mapped().waiting)
            answer(request, XCB_ATOM_NONE);
    }
    const auto time = connection_.timestamp(deadline);
    if (!time)
        return false;
    const auto claim = xcb_set_selection_owner(connection_.raw(), connection_.window(), selection, *time);
    if (connection_.selectionOwner(selection, deadline) != connection_.window())
        return false;

    Offer offer;
    offer.contents = std::move(contents);
    offer.time = *time;
    offer.sequence = claim.sequence;
    offers_[selection] = std::move(offer);
    return true;
}

bool X11SelectionServer::claimUnfilled(xcb_atom_t selection, double deadline) {
    if (!claim(selection, nullptr, deadline))
        return false;
    offers_[selection].fillDeadline = clock_.now() + fillSeconds;
    return true;
}

bool X11SelectionServer::fill(xcb_atom_t selection, ContentsPointer contents, double deadline) {
    const auto entry = offers_.find(selection);
    if (entry == offers_.end() || entry->second.contents)
        return claim(selection, std::move(contents), deadline);
    update(selection, std::move(contents));
    return true;
}

bool X11SelectionServer::isUnfilled(xcb_atom_t selection) const {
    const auto entry = offers_.find(selection);
    return entry != offers_.end() && !entry->second.contents;
}

double X11SelectionServer::fillDeadline(xcb_atom_t selection) const {
    return isUnfilled(selection) ? offers_.at(selection).fillDeadline
                                 : std::numeric_limits<double>::infinity();
}

void X11SelectionServer::waitForContents(xcb_atom_t selection, double deadline) {
    if (isUnfilled(selection))
        offers_[selection].fillDeadline = deadline;
}

void X11SelectionServer::update(xcb_atom_t selection, ContentsPointer contents) {
    const auto entry = offers_.find(selection);
    if (entry == offers_.end())
        return;
    auto& offer = entry->second;
    offer.contents = std::move(contents);
    for (const auto& request : std::exchange(offer.waiting, {}))
        serve(offer, request);
    xcb_flush(connection_.raw());
}

void X11SelectionServer::release(xcb_atom_t selection) {
    const auto entry = offers_.find(selection);
    if (entry == offers_.end())
        return;
    // With the time of the claim, the server ignores this if another program has taken the selection since.
    const auto request =
        xcb_set_selection_owner(connection_.raw(), XCB_WINDOW_NONE, selection, entry->second.time);
    releases_[selection] = request.sequence;
    // So that the server reports later changes by others with another number.
    xcb_no_operation(connection_.raw());
    for (const auto& waiting : entry->second.waiting)
        answer(waiting, XCB_ATOM_NONE);
    offers_.erase(entry);
    xcb_flush(connection_.raw());
}

X11SelectionServer::ContentsPointer X11SelectionServer::contents(xcb_atom_t selection) const {
    const auto entry = offers_.find(selection);
    if (entry == offers_.end())
        return nullptr;
    return entry->second.contents ? entry->second.contents : std::make_shared<const X11SelectionContents>();
}

bool X11SelectionServer::isOwnRelease(xcb_atom_t selection, unsigned int sequence) {
    const auto entry = releases_.find(selection);
    if (entry == releases_.end() || entry->second != sequence)
        return false;
    releases_.erase(entry);
    return true;
}

void X11SelectionServer::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7f) {
    case 0: {
        // Nearly every error here means that a requestor's window was destroyed.
        const auto& error = reinterpret_cast<const xcb_value_error_t&>(event);
        if (error.error_code == XCB_WINDOW)
            std::erase_if(transfers_, [&](const Transfer& t) { return t.requestor == error.bad_value; });
        break;
    }
    case XCB_SELECTION_REQUEST: {
        const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(event);
        const auto entry = offers_.find(request.selection);
        const bool isOffered = entry != offers_.end();
        if (isOffered && entry->second.contents)
            serve(entry->second, request);
        else if (isOffered && entry->second.waiting.size() < maxWaitingRequests)
            entry->second.waiting.push_back(request);
        else
            answer(request, XCB_ATOM_NONE);
        break;
    }
    case XCB_SELECTION_CLEAR:
        lose(reinterpret_cast<const xcb_selection_clear_event_t&>(event));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (change.state == XCB_PROPERTY_DELETE)
            continueTransfer(change.window, change.atom);
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto window = reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
        std::erase_if(transfers_, [&](const Transfer& t) { return t.requestor == window; });
        break;
    }
    default:
        break;
    }
}

double X11SelectionServer::nextDeadline() const {
    double next = std::numeric_limits<double>::infinity();
    for (const auto& [selection, offer] : offers_) {
        if (!offer.contents)
            next = std::min(next, offer.fillDeadline);
    }
    for (const auto& transfer : transfers_)
        next = std::min(next, transfer.deadline);
    return next;
}

void X11SelectionServer::expire() {
    const double now = clock_.now();
    std::vector<xcb_atom_t> unfilled;
    for (const auto& [selection, offer] : offers_) {
        if (!offer.contents && offer.fillDeadline <= now)
            unfilled.push_back(selection);
    }
    for (const auto selection : unfilled)
        release(selection);

    std::vector<xcb_window_t> stalled;
    for (const auto& transfer : transfers_) {
        if (transfer.deadline <= now)
            stalled.push_back(transfer.requestor);
    }
    for (const auto requestor : stalled)
        endTransfersTo(requestor);
}

void X11SelectionServer::serve(const Offer& offer, const xcb_selection_request_event_t& request) {
    // ICCCM 2.2: refuses requests with a time at which another program owned the selection. Clients older
    // than ICCCM name no property and mean one with the target's name.
    const bool isTooOld = request.time != XCB_CURRENT_TIME && isBefore(request.time, offer.time);
    const auto property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    bool isDone = false;
    if (!isTooOld) {
        isDone = request.target == multiple_ ? serveMultiple(offer, request, property)
                                             : convert(offer, request.requestor, request.target, property);
    }
    answer(request, isDone ? property : XCB_ATOM_NONE);
}

bool X11SelectionServer::serveMultiple(const Offer& offer, const xcb_selection_request_event_t& request,
                                       xcb_atom_t property) {
    if (request.property == XCB_ATOM_NONE)
        return false;
    const auto list = connection_.property(request.requestor, property, connection_.deadlineIn(replySeconds));
    auto atoms = numbersOf(list);
    if (atoms.empty() || atoms.size() % 2 != 0 || atoms.size() / 2 > maxPairs)
        return false;
    for (std::size_t i = 0; i < atoms.size(); i += 2) {
        const bool isDone = atoms[i] != multiple_ && atoms[i + 1] != XCB_ATOM_NONE &&
                            convert(offer, request.requestor, atoms[i], atoms[i + 1]);
        if (!isDone)
            atoms[i + 1] = XCB_ATOM_NONE;
    }
    xcb_change_property(connection_.raw(), XCB_PROP_MODE_REPLACE, request.requestor, property, atomPair_, 32,
                        static_cast<std::uint32_t>(atoms.size()), atoms.data());
    return true;
}

bool X11SelectionServer::convert(const Offer& offer, xcb_window_t requestor, xcb_atom_t target,
                                 xcb_atom_t property) {
    auto* connection = connection_.raw();
    if (target == targets_) {
        std::vector<xcb_atom_t> targets = {targets_, multiple_, timestamp_, saveTargets_};
        for (const auto content : offer.contents->targets())
            targets.push_back(content);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_ATOM, 32,
                            static_cast<std::uint32_t>(targets.size()), targets.data());
        return true;
    }
    if (target == timestamp_) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_INTEGER, 32, 1,
                            &offer.time);
        return true;
    }
    if (target == saveTargets_) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, requestor, property, null_, 32, 0, nullptr);
        return true;
    }
    const auto* form = offer.contents->find(target);
    if (!form)
        return false;
    if (form->data->size() > chunkBytes_) {
        beginTransfer(requestor, property, *form);
        return true;
    }
    const auto units = static_cast<std::uint32_t>(form->data->size() / (form->format / 8u));
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, requestor, property, form->type, form->format,
                        units, form->data->data());
    return true;
}

void X11SelectionServer::answer(const xcb_selection_request_event_t& request, xcb_atom_t property) {
    // The server copies 32 bytes for an event of any size.
    union {
        xcb_selection_notify_event_t notify;
        char bytes[32];
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = request.time;
    event.notify.requestor = request.requestor;
    event.notify.selection = request.selection;
    event.notify.target = request.target;
    event.notify.property = property;
    xcb_send_event(connection_.raw(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, event.bytes);
    xcb_flush(connection_.raw());
}

void X11SelectionServer::beginTransfer(xcb_window_t requestor, xcb_atom_t property,
                                       const X11SelectionContents::Form& form) {
    std::erase_if(transfers_,
                  [&](const Transfer& t) { return t.requestor == requestor && t.property == property; });
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.raw(), requestor, XCB_CW_EVENT_MASK, &mask);
    const auto size = static_cast<std::uint32_t>(form.data->size());
    xcb_change_property(connection_.raw(), XCB_PROP_MODE_REPLACE, requestor, property, incr_, 32, 1, &size);
    transfers_.push_back({requestor, property, form, 0, clock_.now() + stalledTransferSeconds});
}

void X11SelectionServer::continueTransfer(xcb_window_t requestor, xcb_atom_t property) {
    const auto transfer = std::ranges::find_if(
        transfers_, [&](const Transfer& t) { return t.requestor == requestor && t.property == property; });
    if (transfer == transfers_.end())
        return;
    const auto& form = transfer->form;
    const auto size = std::min(chunkBytes_, form.data->size() - transfer->sent);
    // An empty piece after the last one marks the end.
    xcb_change_property(connection_.raw(), XCB_PROP_MODE_REPLACE, requestor, property, form.type, form.format,
                        static_cast<std::uint32_t>(size / (form.format / 8u)),
                        form.data->data() + transfer->sent);
    xcb_flush(connection_.raw());
    transfer->sent += size;
    transfer->deadline = clock_.now() + stalledTransferSeconds;
    if (size > 0)
        return;
    transfers_.erase(transfer);
    if (std::ranges::find(transfers_, requestor, &Transfer::requestor) == transfers_.end())
        endTransfersTo(requestor);
}

void X11SelectionServer::endTransfersTo(xcb_window_t requestor) {
    std::erase_if(transfers_, [&](const Transfer& t) { return t.requestor == requestor; });
    const std::uint32_t mask = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection_.raw(), requestor, XCB_CW_EVENT_MASK, &mask);
}

void X11SelectionServer::lose(const xcb_selection_clear_event_t& event) {
    const auto entry = offers_.find(event.selection);
    if (entry == offers_.end())
        return;
    // An event that was sent before this program claimed the selection again belongs to the earlier claim.
    const auto sequence = reinterpret_cast<const xcb_generic_event_t&>(event).full_sequence;
    if (isBefore(sequence, entry->second.sequence))
        return;
    for (const auto& request : entry->second.waiting)
        answer(request, XCB_ATOM_NONE);
    offers_.erase(entry);
}

} // namespace sonvale::adapters::x11
