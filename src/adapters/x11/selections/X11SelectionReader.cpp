#include "adapters/x11/selections/X11SelectionReader.h"

#include <algorithm>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

constexpr double setUpSeconds = 0.5;
/// For a property of up to 16 MB that is already in the server.
constexpr double propertySeconds = 1;
constexpr int propertyCount = 8;

} // namespace

X11SelectionReader::X11SelectionReader(X11Connection& connection, const runtime::Clock& clock,
                                       std::function<void(const xcb_generic_event_t&)> dispatch)
    : connection_(connection)
    , clock_(clock)
    , dispatch_(std::move(dispatch)) {
    if (!connection_.isAlive())
        return;
    window_ = connection_.makeWindow();
    std::vector<std::string> names = {"INCR"};
    for (int i = 0; i < propertyCount; ++i)
        names.push_back("_SONVALE_SELECTION_" + std::to_string(i));
    properties_ = connection_.atoms(names, connection_.deadlineIn(setUpSeconds));
    incr_ = properties_.front();
    properties_.erase(properties_.begin());
}

std::optional<X11SelectionData> X11SelectionReader::fetch(xcb_atom_t selection, xcb_atom_t target,
                                                          xcb_timestamp_t time, double deadline) {
    begin(selection, target, time);
    while (isBusy()) {
        const auto event = connection_.waitForEvent(deadline);
        if (!event)
            break;
        dispatch_(*event);
        // The events of a busy connection may never end.
        if (clock_.now() >= deadline)
            break;
    }
    abandon();
    return take();
}

void X11SelectionReader::begin(xcb_atom_t selection, xcb_atom_t target, xcb_timestamp_t time) {
    data_ = {};
    stage_ = Stage::failed;
    if (!connection_.isAlive() || target == XCB_ATOM_NONE)
        return;
    target_ = target;
    time_ = time;
    stage_ = Stage::asked;
    xcb_convert_selection(connection_.raw(), window_, selection, target, properties_[current_], time);
    xcb_flush(connection_.raw());
}

std::optional<X11SelectionData> X11SelectionReader::take() {
    if (std::exchange(stage_, Stage::idle) != Stage::complete)
        return std::nullopt;
    return std::exchange(data_, {});
}

void X11SelectionReader::abandon() {
    if (!isBusy())
        return;
    stage_ = Stage::failed;
    data_ = {};
    // What the owner has written there, and will still write, is received and discarded.
    xcb_delete_property(connection_.raw(), window_, properties_[current_]);
    current_ = (current_ + 1) % properties_.size();
    xcb_flush(connection_.raw());
}

void X11SelectionReader::handle(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7f) {
    case XCB_SELECTION_NOTIFY: {
        const auto& answer = reinterpret_cast<const xcb_selection_notify_event_t&>(event);
        if (answer.requestor == window_)
            takeAnswer(answer);
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (change.window != window_ || change.state != XCB_PROPERTY_NEW_VALUE || !isOwnProperty(change.atom))
            break;
        if (change.atom != properties_[current_] || stage_ == Stage::idle) {
            xcb_delete_property(connection_.raw(), window_, change.atom);
            xcb_flush(connection_.raw());
        } else if (stage_ == Stage::receiving) {
            takePiece();
        }
        break;
    }
    default:
        break;
    }
}

void X11SelectionReader::takeAnswer(const xcb_selection_notify_event_t& answer) {
    const bool isAskedFor = stage_ == Stage::asked && answer.target == target_ && answer.time == time_ &&
                            (answer.property == properties_[current_] || answer.property == XCB_ATOM_NONE);
    if (!isAskedFor) {
        if (isOwnProperty(answer.property) && answer.property != properties_[current_])
            xcb_delete_property(connection_.raw(), window_, answer.property);
        return;
    }
    lastActivity_ = clock_.now();
    if (answer.property == XCB_ATOM_NONE) {
        stage_ = Stage::failed;
        return;
    }
    const auto property =
        connection_.takeProperty(window_, answer.property, connection_.deadlineIn(propertySeconds));
    if (!property || property->type == XCB_ATOM_NONE) {
        stage_ = Stage::failed;
        return;
    }
    if (property->type == incr_) {
        // The read has deleted the property, which makes the owner begin.
        stage_ = Stage::receiving;
        return;
    }
    data_ = {property->type, property->format, bytesOf(property)};
    stage_ = Stage::complete;
}

void X11SelectionReader::takePiece() {
    lastActivity_ = clock_.now();
    const auto piece =
        connection_.takeProperty(window_, properties_[current_], connection_.deadlineIn(propertySeconds));
    if (!piece || piece->type == XCB_ATOM_NONE)
        return;
    const auto bytes = bytesOf(piece);
    if (data_.type == XCB_ATOM_NONE) {
        data_.type = piece->type;
        data_.format = piece->format;
    }
    data_.bytes.insert(data_.bytes.end(), bytes.begin(), bytes.end());
    if (bytes.empty())
        stage_ = Stage::complete;
}

bool X11SelectionReader::isOwnProperty(xcb_atom_t property) const {
    return property != XCB_ATOM_NONE && std::ranges::find(properties_, property) != properties_.end();
}

} // namespace sonvale::adapters::x11
