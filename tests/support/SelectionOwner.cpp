#include "tests/support/SelectionOwner.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <stdexcept>

namespace sonvale::tests {

struct SelectionOwner::Transfer {
    xcb_window_t requestor;
    xcb_atom_t property;
    const Form* form;
    std::size_t sent;
};

SelectionOwner::SelectionOwner(const std::string& displayName, std::vector<Form> forms)
    : SelectionOwner(displayName, std::move(forms), Options()) {}

SelectionOwner::SelectionOwner(const std::string& displayName, std::vector<Form> forms, Options options)
    : forms_(std::move(forms))
    , options_(std::move(options))
    , session_(std::make_unique<XcbSession>(displayName)) {
    claim();
    if (!isOwner_)
        throw std::runtime_error("cannot own the selection");
    thread_ = std::thread([this] { run(); });
}

SelectionOwner::~SelectionOwner() {
    isEnding_ = true;
    thread_.join();
}

void SelectionOwner::claim() {
    const auto time = session_->timestamp();
    xcb_set_selection_owner(session_->connection(), session_->window(), session_->atom(options_.selection),
                            time);
    isOwner_ = session_->owner(options_.selection) == session_->window();
}

void SelectionOwner::claimAgain() {
    isToClaim_ = true;
    eventually(5, [this] { return !isToClaim_; });
}

int SelectionOwner::requests(const std::string& target) const {
    const std::lock_guard lock(mutex_);
    const auto entry = requests_.find(target);
    return entry == requests_.end() ? 0 : entry->second;
}

void SelectionOwner::run() {
    while (!isEnding_) {
        if (isToClaim_) {
            claim();
            isToClaim_ = false;
        }
        const auto event = session_->waitForEvent(0.005);
        if (!event)
            continue;
        switch (event->response_type & 0x7f) {
        case XCB_SELECTION_CLEAR:
            isOwner_ = false;
            break;
        case XCB_SELECTION_REQUEST:
            answer(reinterpret_cast<const xcb_selection_request_event_t&>(*event));
            break;
        case XCB_PROPERTY_NOTIFY:
            continueTransfer(reinterpret_cast<const xcb_property_notify_event_t&>(*event));
            break;
        default:
            break;
        }
    }
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
    const auto target = session_->name(request.target);
    {
        const std::lock_guard lock(mutex_);
        ++requests_[target];
    }
    const auto [isAnswered, property] = convert(request, target);
    if (!isAnswered)
        return;
    union {
        xcb_selection_notify_event_t notify;
        char raw[32];
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = request.time;
    event.notify.requestor = request.requestor;
    event.notify.selection = request.selection;
    event.notify.target = request.target;
    event.notify.property = property;
    xcb_send_event(session_->connection(), 0, request.requestor, 0, event.raw);
    xcb_flush(session_->connection());
}

SelectionOwner::Conversion SelectionOwner::convert(const xcb_selection_request_event_t& request,
                                                   const std::string& target) {
    if (target == "TARGETS")
        return listTargets(request);
    const auto form = std::ranges::find(forms_, target, &Form::target);
    if (form == forms_.end())
        return {true, XCB_ATOM_NONE};
    pauseMilliseconds(form->delayMilliseconds);
    if (form->onRequest)
        form->onRequest();
    if (form->isNeverAnswered)
        return {false, XCB_ATOM_NONE};
    if (!form->isIncremental) {
        put(request.requestor, request.property, *form, 0, form->data.size());
        return {true, request.property};
    }
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(session_->connection(), request.requestor, XCB_CW_EVENT_MASK, &mask);
    const std::uint32_t size = 1;
    xcb_change_property(session_->connection(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                        session_->atom("INCR"), 32, 1, &size);
    transfers_.push_back({request.requestor, request.property, &*form, 0});
    return {true, request.property};
}

SelectionOwner::Conversion SelectionOwner::listTargets(const xcb_selection_request_event_t& request) {
    if (!options_.answersTargets)
        return {false, XCB_ATOM_NONE};
    if (options_.refusesTargets)
        return {true, XCB_ATOM_NONE};
    std::vector<xcb_atom_t> targets;
    for (const auto* name : {"TARGETS", "TIMESTAMP", "MULTIPLE"})
        targets.push_back(session_->atom(name));
    for (const auto& form : forms_)
        targets.push_back(session_->atom(form.target));
    xcb_change_property(session_->connection(), XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                        XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(targets.size()), targets.data());
    return {true, request.property};
}

void SelectionOwner::continueTransfer(const xcb_property_notify_event_t& change) {
    if (change.state != XCB_PROPERTY_DELETE)
        return;
    const auto transfer = std::ranges::find_if(transfers_, [&](const Transfer& t) {
        return t.requestor == change.window && t.property == change.atom;
    });
    if (transfer == transfers_.end())
        return;
    const auto size = std::min(options_.pieceBytes, transfer->form->data.size() - transfer->sent);
    if (size == 0 && transfer->form->isNeverFinished)
        return;
    put(transfer->requestor, transfer->property, *transfer->form, transfer->sent, size);
    xcb_flush(session_->connection());
    transfer->sent += size;
    if (size == 0) {
        transfers_.erase(transfer);
        ++finishedTransfers_;
    }
}

void SelectionOwner::put(xcb_window_t window, xcb_atom_t property, const Form& form, std::size_t from,
                         std::size_t size) {
    const auto unitBytes = static_cast<std::size_t>(form.format) / 8;
    xcb_change_property(session_->connection(), XCB_PROP_MODE_REPLACE, window, property,
                        session_->atom(form.type.empty() ? form.target : form.type),
                        static_cast<std::uint8_t>(form.format), static_cast<std::uint32_t>(size / unitBytes),
                        form.data.data() + from);
}

} // namespace sonvale::tests
