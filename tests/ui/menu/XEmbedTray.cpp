#include "tests/ui/menu/XEmbedTray.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr int side = 22;
constexpr int left = 1000;
constexpr int top = 700;
constexpr long requestDock = 0;

int ignoreErrors(Display*, XErrorEvent*) {
    // The window of an icon may be destroyed at any time.
    return 0;
}

} // namespace

struct XEmbedTray::Impl {
    Display* display = XOpenDisplay(nullptr);
    Window tray = 0;
    int icons = 0;

    Atom atom(const char* name) const { return XInternAtom(display, name, False); }
};

XEmbedTray::XEmbedTray(unsigned long color)
    : impl_(std::make_unique<Impl>()) {
    Display* display = impl_->display;
    if (!display)
        throw std::runtime_error("no display");
    XSetErrorHandler(ignoreErrors);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.background_pixel = color;
    impl_->tray = XCreateWindow(display, DefaultRootWindow(display), left, top, side, side, 0, CopyFromParent,
                                InputOutput, CopyFromParent, CWOverrideRedirect | CWBackPixel, &attributes);
    XMapRaised(display, impl_->tray);

    const Atom selection = impl_->atom("_NET_SYSTEM_TRAY_S0");
    XSetSelectionOwner(display, selection, impl_->tray, CurrentTime);
    XEvent announcement{};
    announcement.xclient.type = ClientMessage;
    announcement.xclient.window = DefaultRootWindow(display);
    announcement.xclient.message_type = impl_->atom("MANAGER");
    announcement.xclient.format = 32;
    announcement.xclient.data.l[0] = CurrentTime;
    announcement.xclient.data.l[1] = static_cast<long>(selection);
    announcement.xclient.data.l[2] = static_cast<long>(impl_->tray);
    XSendEvent(display, DefaultRootWindow(display), False, StructureNotifyMask, &announcement);
    XSync(display, False);
}

XEmbedTray::~XEmbedTray() {
    XCloseDisplay(impl_->display);
    XSetErrorHandler(nullptr);
}

int XEmbedTray::poll() {
    Display* display = impl_->display;
    while (XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type != ClientMessage ||
            event.xclient.message_type != impl_->atom("_NET_SYSTEM_TRAY_OPCODE") ||
            event.xclient.data.l[1] != requestDock)
            continue;
        const auto icon = static_cast<Window>(event.xclient.data.l[2]);
        XReparentWindow(display, icon, impl_->tray, 0, 0);
        XResizeWindow(display, icon, side, side);
        XMapRaised(display, icon);
        XSync(display, False);
        ++impl_->icons;
    }
    return impl_->icons;
}

QImage XEmbedTray::icon() {
    XImage* pixels = XGetImage(impl_->display, DefaultRootWindow(impl_->display), left, top, side, side,
                               AllPlanes, ZPixmap);
    if (!pixels)
        throw std::runtime_error("no picture of the tray");
    QImage image(side, side, QImage::Format_RGB32);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, static_cast<uint>(XGetPixel(pixels, x, y)) | 0xFF000000u);
    }
    XDestroyImage(pixels);
    return image;
}

void XEmbedTray::click() {
    XTestFakeMotionEvent(impl_->display, 0, left + side / 2, top + side / 2, CurrentTime);
    XTestFakeButtonEvent(impl_->display, 1, True, CurrentTime);
    XTestFakeButtonEvent(impl_->display, 1, False, CurrentTime);
    XSync(impl_->display, False);
}

} // namespace sonvale::tests
