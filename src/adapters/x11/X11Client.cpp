#include "adapters/x11/X11Client.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcbext.h>

#include <cmath>
#include <cstring>

namespace sonvale::adapters::x11 {

X11Client::X11Client(const std::string& displayName, const runtime::Clock& clock)
    : clock_(clock) {
    int screenNumber = 0;
    connection_ = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    if (!isAlive())
        return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
    window_ = makeWindow();
}

X11Client::~X11Client() {
    xcb_disconnect(connection_);
}

bool X11Client::isAlive() const {
    return xcb_connection_has_error(connection_) == 0;
}

xcb_window_t X11Client::makeWindow() {
    const xcb_window_t window = xcb_generate_id(connection_);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection_, 0, window, root_, -10, -10, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    return window;
}

void* X11Client::waitForReply(unsigned int sequence, double deadline) {
    xcb_flush(connection_);
    while (isAlive()) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(connection_, sequence, &reply, &error) != 0) {
            // The caller learns of it by the missing reply: a window that went away is everyday here.
            std::free(error);
            return reply;
        }
        const auto before = events_.size();
        collectEvents();
        if (events_.size() != before)
            continue;
        if (xcb_poll_for_reply(connection_, sequence, &reply, &error) != 0) {
            std::free(error);
            return reply;
        }
        if (clock_.now() >= deadline)
            break;
        pollUntil(deadline, -1);
    }
    if (isAlive())
        xcb_discard_reply(connection_, sequence);
    return nullptr;
}

XcbPointer<xcb_get_property_reply_t> X11Client::property(xcb_window_t window, xcb_atom_t name, bool andDelete,
                                                         double deadline) {
    // In units of four bytes; the server counts them in 32 bits.
    constexpr std::uint32_t everything = 0x1fffffff;
    const auto cookie = xcb_get_property(connection_, andDelete ? 1 : 0, window, name,
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, everything);
    return reply<xcb_get_property_reply_t>(cookie.sequence, deadline);
}

std::vector<xcb_atom_t> X11Client::atoms(const std::vector<std::string>& names, double deadline) {
    constexpr std::size_t longestName = 0xffff;
    std::vector<std::pair<std::string, unsigned int>> asked;
    for (const auto& name : names) {
        if (name.empty() || name.size() > longestName || atomsByName_.contains(name))
            continue;
        const auto cookie =
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
        asked.emplace_back(name, cookie.sequence);
    }
    for (const auto& [name, sequence] : asked) {
        const auto answer = reply<xcb_intern_atom_reply_t>(sequence, deadline);
        if (!answer)
            continue;
        atomsByName_[name] = answer->atom;
        namesByAtom_[answer->atom] = name;
    }

    std::vector<xcb_atom_t> found;
    found.reserve(names.size());
    for (const auto& name : names) {
        const auto entry = atomsByName_.find(name);
        found.push_back(entry == atomsByName_.end() ? XCB_ATOM_NONE : entry->second);
    }
    return found;
}

xcb_atom_t X11Client::atom(const std::string& name, double deadline) {
    return atoms({name}, deadline).front();
}

std::vector<std::string> X11Client::atomNames(const std::vector<xcb_atom_t>& atoms, double deadline) {
    std::vector<std::pair<xcb_atom_t, unsigned int>> asked;
    for (const auto atom : atoms) {
        if (atom != XCB_ATOM_NONE && !namesByAtom_.contains(atom))
            asked.emplace_back(atom, xcb_get_atom_name(connection_, atom).sequence);
    }
    for (const auto& [atom, sequence] : asked) {
        const auto answer = reply<xcb_get_atom_name_reply_t>(sequence, deadline);
        if (!answer)
            continue;
        const auto length = static_cast<std::size_t>(xcb_get_atom_name_name_length(answer.get()));
        std::string name(xcb_get_atom_name_name(answer.get()), length);
        atomsByName_[name] = atom;
        namesByAtom_[atom] = std::move(name);
    }

    std::vector<std::string> found;
    found.reserve(atoms.size());
    for (const auto atom : atoms) {
        const auto entry = namesByAtom_.find(atom);
        found.push_back(entry == namesByAtom_.end() ? std::string() : entry->second);
    }
    return found;
}

bool X11Client::sync(double deadline) {
    // The cheapest request that has a reply.
    const auto cookie = xcb_get_input_focus(connection_);
    if (!reply<xcb_get_input_focus_reply_t>(cookie.sequence, deadline))
        return false;
    collectEvents();
    return true;
}

std::optional<xcb_timestamp_t> X11Client::timestamp(double deadline) {
    const auto property = atom("_SONVALE_TIMESTAMP", deadline);
    if (property == XCB_ATOM_NONE)
        return std::nullopt;
    xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window_, property, XCB_ATOM_INTEGER, 32, 0,
                        nullptr);
    if (!sync(deadline))
        return std::nullopt;

    std::optional<xcb_timestamp_t> time;
    std::erase_if(events_, [&](const XcbEvent& event) {
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            return false;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if (change.window != window_ || change.atom != property)
            return false;
        time = change.time;
        return true;
    });
    return time;
}

XcbEvent X11Client::takeEvent() {
    if (events_.empty())
        collectEvents();
    if (events_.empty())
        return nullptr;
    auto event = std::move(events_.front());
    events_.pop_front();
    return event;
}

XcbEvent X11Client::waitForEvent(double deadline) {
    xcb_flush(connection_);
    while (true) {
        auto event = takeEvent();
        if (event || !isAlive() || clock_.now() >= deadline)
            return event;
        pollUntil(deadline, -1);
    }
}

void X11Client::waitForInput(int otherDescriptor, double deadline) {
    xcb_flush(connection_);
    // Sending may have read meanwhile, and what was read does not make the descriptor readable.
    collectEvents();
    if (events_.empty())
        pollUntil(deadline, otherDescriptor);
}

void X11Client::disconnect() const {
    if (isAlive())
        shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR);
}

void X11Client::collectEvents() {
    while (XcbEvent event{xcb_poll_for_event(connection_)})
        events_.push_back(std::move(event));
}

void X11Client::pollUntil(double deadline, int otherDescriptor) {
    // A negative descriptor is passed over; that of a lost server would be readable for ever.
    const int own = isAlive() ? xcb_get_file_descriptor(connection_) : -1;
    pollfd waiting[] = {{own, POLLIN, 0}, {otherDescriptor, POLLIN, 0}};
    int milliseconds = -1;
    if (std::isfinite(deadline))
        milliseconds = static_cast<int>(std::ceil(std::clamp(deadline - clock_.now(), 0.0, 1e6) * 1000.0));
    // A signal ends it early; the callers look again at what they wait for.
    poll(waiting, 2, milliseconds);
}

std::vector<std::byte> bytesOf(const xcb_get_property_reply_t& property) {
    const auto* data = static_cast<const std::byte*>(xcb_get_property_value(&property));
    return {data, data + xcb_get_property_value_length(&property)};
}

std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t& property) {
    if (property.format != 32)
        return {};
    const auto size = static_cast<std::size_t>(xcb_get_property_value_length(&property));
    std::vector<std::uint32_t> numbers(size / sizeof(std::uint32_t));
    if (!numbers.empty())
        std::memcpy(numbers.data(), xcb_get_property_value(&property),
                    numbers.size() * sizeof(std::uint32_t));
    return numbers;
}

} // namespace sonvale::adapters::x11
