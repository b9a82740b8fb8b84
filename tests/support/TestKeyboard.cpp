#include "tests/support/TestKeyboard.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <stdexcept>

namespace sonvale::tests {

struct TestKeyboard::Impl {
    Display* display = nullptr;
    XDevice* device = nullptr; ///< null for XTEST's own device

    void send(unsigned int keycode, bool isPress) {
        if (device)
            XTestFakeDeviceKeyEvent(display, device, keycode, isPress, nullptr, 0, CurrentTime);
        else
            XTestFakeKeyEvent(display, keycode, isPress, CurrentTime);
        XSync(display, False);
    }
};

namespace {

XDevice* openHardwareKeyboard(Display* display) {
    int count = 0;
    XDeviceInfo* devices = XListInputDevices(display, &count);
    XDevice* found = nullptr;
    for (int i = 0; i < count && !found; ++i) {
        if (devices[i].name && std::string(devices[i].name) == "Xvfb keyboard")
            found = XOpenDevice(display, devices[i].id);
    }
    if (devices)
        XFreeDeviceList(devices);
    if (!found)
        throw std::runtime_error("the display has no keyboard of its own");
    return found;
}

} // namespace

TestKeyboard::TestKeyboard(const std::string& displayName, Source source)
    : impl_(std::make_unique<Impl>()) {
    impl_->display = XOpenDisplay(displayName.c_str());
    if (!impl_->display)
        throw std::runtime_error("no display " + displayName);
    if (source == Source::hardware)
        impl_->device = openHardwareKeyboard(impl_->display);
}

TestKeyboard::~TestKeyboard() {
    if (impl_->device)
        XCloseDevice(impl_->display, impl_->device);
    XCloseDisplay(impl_->display);
}

void TestKeyboard::down(unsigned long keysym) {
    downKeycode(keycodeOf(keysym));
}
void TestKeyboard::up(unsigned long keysym) {
    upKeycode(keycodeOf(keysym));
}

void TestKeyboard::tap(unsigned long keysym) {
    down(keysym);
    up(keysym);
}

void TestKeyboard::downKeycode(unsigned int keycode) {
    impl_->send(keycode, true);
}
void TestKeyboard::upKeycode(unsigned int keycode) {
    impl_->send(keycode, false);
}

void TestKeyboard::chord(unsigned long modifier, unsigned long keysym) {
    down(modifier);
    tap(keysym);
    up(modifier);
}

void TestKeyboard::type(const std::string& text) {
    for (const unsigned char c : text) {
        // Latin-1 keysyms are the characters' own numbers.
        const KeySym keysym = c == '\n' ? XK_Return : KeySym{c};
        const bool isShifted =
            XkbKeycodeToKeysym(impl_->display, static_cast<KeyCode>(keycodeOf(keysym)), 0, 0) != keysym;
        if (isShifted)
            chord(XK_Shift_L, keysym);
        else
            tap(keysym);
    }
}

unsigned int TestKeyboard::keycodeOf(unsigned long keysym) const {
    const auto keycode = XKeysymToKeycode(impl_->display, keysym);
    if (keycode == 0)
        throw std::runtime_error("the keyboard has no such key");
    return keycode;
}

bool TestKeyboard::isAnyKeyDown() const {
    char keys[32] = {};
    XQueryKeymap(impl_->display, keys);
    for (const char byte : keys) {
        if (byte != 0)
            return true;
    }
    return false;
}

unsigned int TestKeyboard::modifiers() const {
    XkbStateRec state{};
    XkbGetState(impl_->display, XkbUseCoreKbd, &state);
    return state.mods;
}

} // namespace sonvale::tests
