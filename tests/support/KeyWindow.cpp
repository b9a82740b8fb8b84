#include "tests/support/KeyWindow.h"

#include "tests/support/ChildProcess.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XInput2.h>

#include <map>
#include <stdexcept>

namespace sonvale::tests {

struct KeyWindow::Impl {
    Display* display = nullptr;
    Window window = None;
    std::map<unsigned int, int> presses;
    std::map<unsigned int, int> releases;
    std::map<unsigned int, unsigned int> states;
};

KeyWindow::KeyWindow(const std::string& displayName, const std::string& className)
    : impl_(std::make_unique<Impl>()) {
    auto* display = impl_->display = XOpenDisplay(displayName.c_str());
    if (!display)
        throw std::runtime_error("no display " + displayName);
    impl_->window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 300, 200, 0, 0, 0);
    XSelectInput(display, impl_->window,
                 KeyPressMask | KeyReleaseMask | FocusChangeMask | StructureNotifyMask);
    XWMHints hints{};
    hints.flags = InputHint;
    hints.input = True;
    XSetWMHints(display, impl_->window, &hints);
    if (!className.empty()) {
        std::string name = className;
        XClassHint hint{name.data(), name.data()};
        XSetClassHint(display, impl_->window, &hint);
    }
    const bool hasGotFocus = eventually(10, [&] {
        XWindowAttributes attributes{};
        XGetWindowAttributes(display, impl_->window, &attributes);
        if (attributes.map_state == IsViewable)
            XSetInputFocus(display, impl_->window, RevertToParent, CurrentTime);
        else
            XMapRaised(display,
                       impl_->window); // openbox does not handle a request that arrives while it starts
        XSync(display, False);
        return hasFocus();
    });
    if (!hasGotFocus)
        throw std::runtime_error("the window does not get the keyboard");
}

KeyWindow::~KeyWindow() {
    XCloseDisplay(impl_->display);
}

int KeyWindow::presses(unsigned int keycode) {
    readEvents();
    return impl_->presses[keycode];
}

int KeyWindow::releases(unsigned int keycode) {
    readEvents();
    return impl_->releases[keycode];
}

unsigned int KeyWindow::stateOfLastPress(unsigned int keycode) {
    readEvents();
    return impl_->states[keycode];
}

bool KeyWindow::hasFocus() const {
    Window focus = None;
    int revert = 0;
    XGetInputFocus(impl_->display, &focus, &revert);
    return focus == impl_->window;
}

void KeyWindow::readEvents() {
    XSync(impl_->display, False);
    while (XPending(impl_->display)) {
        XEvent event;
        XNextEvent(impl_->display, &event);
        if (event.type == KeyPress) {
            ++impl_->presses[event.xkey.keycode];
            impl_->states[event.xkey.keycode] = event.xkey.state;
        } else if (event.type == KeyRelease) {
            ++impl_->releases[event.xkey.keycode];
        }
    }
}

struct ForeignGrab::Impl {
    Display* display = nullptr;
    Kind kind = Kind::core;
    unsigned int keycode = 0;
    unsigned int modifiers = 0;
};

ForeignGrab::ForeignGrab(const std::string& displayName, Kind kind, unsigned int keycode,
                         unsigned int modifiers)
    : impl_(std::make_unique<Impl>()) {
    impl_->display = XOpenDisplay(displayName.c_str());
    if (!impl_->display)
        throw std::runtime_error("no display " + displayName);
    impl_->kind = kind;
    impl_->keycode = keycode;
    impl_->modifiers = modifiers;
    int major = 2;
    int minor = 3;
    XIQueryVersion(impl_->display, &major, &minor);
    renew();
}

ForeignGrab::~ForeignGrab() {
    XCloseDisplay(impl_->display);
}

void ForeignGrab::renew() {
    auto* display = impl_->display;
    const auto root = DefaultRootWindow(display);
    if (impl_->kind == Kind::core) {
        XGrabKey(display, static_cast<int>(impl_->keycode), impl_->modifiers, root, False, GrabModeAsync,
                 GrabModeAsync);
        XSync(display, False);
        return;
    }
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, XI_KeyPress);
    XIEventMask mask{XIAllMasterDevices, sizeof bits, bits};
    XIGrabModifiers modifiers{static_cast<int>(impl_->modifiers), 0};
    int pointer = 0;
    XIGetClientPointer(display, None, &pointer);
    int count = 0;
    auto* device = XIQueryDevice(display, pointer, &count);
    const int keyboard = device->attachment;
    XIFreeDeviceInfo(device);
    XIGrabKeycode(display, keyboard, static_cast<int>(impl_->keycode), root, XIGrabModeAsync, XIGrabModeAsync,
                  False, &mask, 1, &modifiers);
    XSync(display, False);
}

} // namespace sonvale::tests
