#include "adapters/x11/keys/X11KeySender.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

namespace sonvale::adapters::x11 {

void X11KeySender::send(const X11Keyboards& keyboards, std::uint16_t device,
                        const std::vector<KeyStroke>& strokes) {
    const bool isXtest = device == keyboards.xtest;
    // XTEST encodes devices in seven bits.
    if (device == 0 || (!isXtest && device > 127))
        return;
    ledger_.write(&connection_, device, strokes, connection_.clock().now());
    for (const auto& stroke : strokes) {
        std::uint8_t type = stroke.isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE;
        if (!isXtest)
            type =
                static_cast<std::uint8_t>(inputFirstEvent_ + (stroke.isPress ? XCB_INPUT_DEVICE_KEY_PRESS
                                                                             : XCB_INPUT_DEVICE_KEY_RELEASE));
        xcb_test_fake_input(connection_.raw(), type, stroke.keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                            isXtest ? 0 : static_cast<std::uint8_t>(device));
    }
    xcb_flush(connection_.raw());
}

} // namespace sonvale::adapters::x11
