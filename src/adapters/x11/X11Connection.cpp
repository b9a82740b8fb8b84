#include "adapters/x11/X11Connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace sonvale::adapters::x11 {

X11Connection::X11Connection(const std::string& displayName, const runtime::Clock& clock)
    : clock_(clock) {
    int screenNumber = 0;
    connection_ = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    if (!isAlive())
        return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
}

X11Connection::~X11Connection() {
    xcb_disconnect(connection_);
}

bool X11Connection::isAlive() const {
    return xcb_connection_has_error(connection_) == 0;
}

xcb_window_t X11Connection::window() {
    if (window_ == XCB_WINDOW_NONE && isAlive())
        window_ = makeWindow();
    return window_;
}

xcb_window_t X11Connection::makeWindow() {
    const xcb_window_t window = xcb_generate_id(connection_);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection_, 0, window, root_, -10, -10, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    return window;
}

void* X11Connection::waitForReply(unsigned int sequence, double deadline) {
    xcb_flush(connection_);
    while (isAlive()) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(connection_, sequence, &reply, &error) != 0) {
            // The caller needs no reason besides the missing reply: windows are destroyed at any time.
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

bool X11Connection::synchronize(double deadline) {
    // The cheapest request that has a reply.
    if (!reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection_), deadline))
        return false;
    collectEvents();
    return true;
}

xcb_get_property_cookie_t X11Connection::requestProperty(xcb_window_t window, xcb_atom_t name,
                                                         bool andDelete) {
    // In units of four bytes; the server counts them in 32 bits.
    constexpr std::uint32_t everything = 0x1fffffff;
    return xcb_get_property(connection_, andDelete ? 1 : 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0,
                            everything);
}

XcbProperty X11Connection::property(xcb_window_t window, xcb_atom_t name, double deadline) {
    return reply<xcb_get_property_reply_t>(requestProperty(window, name), deadline);
}

XcbProperty X11Connection::takeProperty(xcb_window_t window, xcb_atom_t name, double deadline) {
    return reply<xcb_get_property_reply_t>(requestProperty(window, name, true), deadline);
}

std::vector<xcb_atom_t> X11Connection::atoms(const std::vector<std::string>& names, double deadline) {
    constexpr std::size_t maxNameLength = 0xffff;
    std::vector<std::pair<std::string, unsigned int>> asked;
    for (const auto& name : names) {
        if (name.empty() || name.size() > maxNameLength || atomsByName_.contains(name))
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

xcb_atom_t X11Connection::atom(const std::string& name, double deadline) {
    return atoms({name}, deadline).front();
}

std::vector<std::string> X11Connection::atomNames(const std::vector<xcb_atom_t>& atoms, double deadline) {
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

std::optional<xcb_window_t> X11Connection::selectionOwner(xcb_atom_t selection, double deadline) {
    const auto owner =
        reply<xcb_get_selection_owner_reply_t>(xcb_get_selection_owner(connection_, selection), deadline);
    return owner ? std::optional(owner->owner) : std::nullopt;
}

std::optional<xcb_timestamp_t> X11Connection::timestamp(double deadline) {
    const auto property = atom("_SONVALE_TIMESTAMP", deadline);
    if (property == XCB_ATOM_NONE)
        return std::nullopt;
    xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window(), property, XCB_ATOM_INTEGER, 32, 0,
                        nullptr);
    if (!synchronize(deadline))
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

XcbEvent X11Connection::takeEvent() {
    if (events_.empty())
        collectEvents();
    if (events_.empty())
        return nullptr;
    auto event = std::move(events_.front());
    events_.pop_front();
    return event;
}

XcbEvent X11Connection::waitForEvent(double deadline) {
    xcb_flush(connection_);
    while (true) {
        auto event = takeEvent();
        if (event || !isAlive() || clock_.now() >= deadline)
            return event;
        pollUntil(deadline, -1);
    }
}

void X11Connection::waitForInput(int otherDescriptor, double deadline) {
    const bool wasAlive = isAlive();
    xcb_flush(connection_);
    // Sending may have read events too, and those do not make the descriptor readable.
    collectEvents();
    const bool hasEnded = wasAlive && !isAlive();
    if (events_.empty() && !hasEnded)
        pollUntil(deadline, otherDescriptor);
}

void X11Connection::disconnect() const {
    if (isAlive())
        shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR);
}

void X11Connection::collectEvents() {
    while (XcbEvent event{xcb_poll_for_event(connection_)})
        events_.push_back(std::move(event));
}

void X11Connection::pollUntil(double deadline, int otherDescriptor) {
    // poll ignores a negative descriptor. The descriptor of a lost server would be readable indefinitely.
    const int own = isAlive() ? xcb_get_file_descriptor(connection_) : -1;
    pollfd waiting[] = {{own, POLLIN, 0}, {otherDescriptor, POLLIN, 0}};
    int milliseconds = -1;
    if (std::isfinite(deadline))
        milliseconds = static_cast<int>(std::ceil(std::clamp(deadline - clock_.now(), 0.0, 1e6) * 1000.0));
    // A signal ends it early; the callers check again what they wait for.
    poll(waiting, 2, milliseconds);
}

bool hasOwner(X11Connection& connection, xcb_atom_t selection, double deadline) {
    return connection.selectionOwner(selection, deadline).value_or(XCB_WINDOW_NONE) != XCB_WINDOW_NONE;
}

std::vector<std::byte> bytesOf(const XcbProperty& property) {
    if (!property)
        return {};
    const auto* data = static_cast<const std::byte*>(xcb_get_property_value(property.get()));
    return {data, data + xcb_get_property_value_length(property.get())};
}

std::vector<std::uint32_t> numbersOf(const XcbProperty& property) {
    if (!property || property->format != 32)
        return {};
    const auto size = static_cast<std::size_t>(xcb_get_property_value_length(property.get()));
    std::vector<std::uint32_t> numbers(size / sizeof(std::uint32_t));
    if (!numbers.empty())
        std::memcpy(numbers.data(), xcb_get_property_value(property.get()),
                    numbers.size() * sizeof(std::uint32_t));
    return numbers;
}

std::string textOf(const XcbProperty& property) {
    if (!property || property->format != 8)
        return {};
    const auto* text = static_cast<const char*>(xcb_get_property_value(property.get()));
    return {text, static_cast<std::size_t>(xcb_get_property_value_length(property.get()))};
}

} // namespace sonvale::adapters::x11
