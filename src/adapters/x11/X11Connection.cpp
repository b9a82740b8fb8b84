#include "adapters/x11/X11Connection.h"

#include "adapters/x11/X11Xkb.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcbext.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace sonvale::adapters::x11 {

namespace {

constexpr double setUpSeconds = 2;

} // namespace

std::unique_ptr<X11Connection> X11Connection::open(const std::string& displayName,
                                                   const runtime::Clock& clock) {
    int screen = 0;
    auto* raw = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screen);
    std::unique_ptr<X11Connection> connection(new X11Connection(raw, screen, clock));
    if (connection->isBroken() || !connection->prepareExtensions())
        return nullptr;
    return connection;
}

X11Connection::X11Connection(xcb_connection_t* connection, int screen, const runtime::Clock& clock)
    : connection_(connection)
    , clock_(clock) {
    if (isBroken())
        return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
}

X11Connection::~X11Connection() {
    xcb_disconnect(connection_);
}

bool X11Connection::prepareExtensions() {
    xcb_prefetch_extension_data(connection_, &xcb_input_id);
    xcb_prefetch_extension_data(connection_, &xcb_xkb_id);
    xcb_prefetch_extension_data(connection_, &xcb_test_id);
    const auto* input = xcb_get_extension_data(connection_, &xcb_input_id);
    const auto* xkb = xcb_get_extension_data(connection_, &xcb_xkb_id);
    const auto* xtest = xcb_get_extension_data(connection_, &xcb_test_id);
    if (!input || !input->present || !xkb || !xkb->present || !xtest || !xtest->present)
        return false;
    inputOpcode_ = input->major_opcode;
    inputFirstEvent_ = input->first_event;
    xkbFirstEvent_ = xkb->first_event;

    const double deadline = clock_.now() + setUpSeconds;
    const auto inputVersion = xcb_input_xi_query_version(connection_, 2, 3);
    // A client that has announced XKB gets its own notices of keyboard changes, and the core ones no more.
    const auto xkbUse = xcb_xkb_use_extension(connection_, 1, 0);
    const auto testVersion = xcb_test_get_version(connection_, 2, 2);
    const auto inputReply = reply<xcb_input_xi_query_version_reply_t>(inputVersion, deadline);
    const auto xkbReply = reply<xcb_xkb_use_extension_reply_t>(xkbUse, deadline);
    const auto testReply = reply<xcb_test_get_version_reply_t>(testVersion, deadline);
    const bool hasInput = inputReply && inputReply->major_version == 2 && inputReply->minor_version >= 1;
    return hasInput && xkbReply && xkbReply->supported && testReply;
}

void* X11Connection::waitForReply(unsigned int sequence, double deadline) {
    xcb_flush(connection_);
    for (;;) {
        void* answer = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(connection_, sequence, &answer, &error)) {
            std::free(error);
            return answer;
        }
        const double left = deadline - clock_.now();
        if (left <= 0 || isBroken())
            break;
        pollfd waiting{descriptor(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(std::ceil(left * 1000)));
    }
    xcb_discard_reply(connection_, sequence);
    return nullptr;
}

bool X11Connection::synchronize(double deadline) {
    return reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection_), deadline) != nullptr;
}

void X11Connection::interrupt() {
    shutdown(descriptor(), SHUT_RDWR);
}

bool X11Keyboards::isHardware(std::uint16_t device) const {
    return std::find(hardware.begin(), hardware.end(), device) != hardware.end();
}

unsigned int requestKeyboards(X11Connection& connection) {
    return xcb_input_xi_query_device(connection.raw(), XCB_INPUT_DEVICE_ALL).sequence;
}

std::optional<X11Keyboards> receiveKeyboards(X11Connection& connection, unsigned int request,
                                             double deadline) {
    const auto reply = connection.replyTo<xcb_input_xi_query_device_reply_t>(request, deadline);
    if (!reply)
        return std::nullopt;
    X11Keyboards keyboards;
    auto devices = xcb_input_xi_query_device_infos_iterator(reply.get());
    for (; devices.rem; xcb_input_xi_device_info_next(&devices)) {
        const auto& device = *devices.data;
        if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && !keyboards.master)
            keyboards.master = device.deviceid;
        if (device.type != XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD || !device.enabled)
            continue;
        const std::string_view name(xcb_input_xi_device_info_name(&device),
                                    static_cast<std::size_t>(xcb_input_xi_device_info_name_length(&device)));
        if (name.find("XTEST") == std::string_view::npos)
            keyboards.hardware.push_back(device.deviceid);
        else if (device.attachment == keyboards.master || !keyboards.xtest)
            keyboards.xtest = device.deviceid;
    }
    if (!keyboards.master)
        return std::nullopt;
    return keyboards;
}

} // namespace sonvale::adapters::x11
