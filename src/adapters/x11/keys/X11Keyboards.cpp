#include "adapters/x11/keys/X11Keyboards.h"

#include "adapters/x11/keys/X11Xkb.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <string_view>

namespace sonvale::adapters::x11 {

namespace {

constexpr double setUpSeconds = 2;

} // namespace

std::optional<X11KeyboardExtensions> useKeyboardExtensions(X11Connection& connection) {
    if (!connection.isAlive())
        return std::nullopt;
    auto* raw = connection.raw();
    xcb_prefetch_extension_data(raw, &xcb_input_id);
    xcb_prefetch_extension_data(raw, &xcb_xkb_id);
    xcb_prefetch_extension_data(raw, &xcb_test_id);
    const auto* input = xcb_get_extension_data(raw, &xcb_input_id);
    const auto* xkb = xcb_get_extension_data(raw, &xcb_xkb_id);
    const auto* xtest = xcb_get_extension_data(raw, &xcb_test_id);
    if (!input || !input->present || !xkb || !xkb->present || !xtest || !xtest->present)
        return std::nullopt;

    const double deadline = connection.deadlineIn(setUpSeconds);
    const auto inputVersion = xcb_input_xi_query_version(raw, 2, 3);
    // A client that has announced XKB gets that extension's notices of keyboard changes in place of the core
    // ones.
    const auto xkbUse = xcb_xkb_use_extension(raw, 1, 0);
    const auto testVersion = xcb_test_get_version(raw, 2, 2);
    const auto inputReply = connection.reply<xcb_input_xi_query_version_reply_t>(inputVersion, deadline);
    const auto xkbReply = connection.reply<xcb_xkb_use_extension_reply_t>(xkbUse, deadline);
    const auto testReply = connection.reply<xcb_test_get_version_reply_t>(testVersion, deadline);
    const bool hasInput = inputReply && inputReply->major_version == 2 && inputReply->minor_version >= 1;
    if (!hasInput || !xkbReply || !xkbReply->supported || !testReply)
        return std::nullopt;
    return X11KeyboardExtensions{input->major_opcode, input->first_event, xkb->first_event};
}

bool X11Keyboards::isHardware(std::uint16_t device) const {
    return std::find(hardware.begin(), hardware.end(), device) != hardware.end();
}

unsigned int requestKeyboards(X11Connection& connection) {
    return xcb_input_xi_query_device(connection.raw(), XCB_INPUT_DEVICE_ALL).sequence;
}

std::optional<X11Keyboards> receiveKeyboards(X11Connection& connection, unsigned int request,
                                             double deadline) {
    const auto reply = connection.reply<xcb_input_xi_query_device_reply_t>(request, deadline);
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

std::bitset<256> keysDownIn(const xcb_query_keymap_reply_t& keymap) {
    std::bitset<256> down;
    for (unsigned int keycode = 0; keycode < down.size(); ++keycode)
        down.set(keycode, (keymap.keys[keycode / 8] & (1u << (keycode % 8))) != 0);
    return down;
}

} // namespace sonvale::adapters::x11
