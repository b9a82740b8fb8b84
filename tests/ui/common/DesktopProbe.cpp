#include "tests/ui/common/DesktopProbe.h"

#include <map>
#include <stdexcept>

// Included after Qt, because these headers define names of Qt as macros.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/shape.h>

namespace sonvale::tests {

struct DesktopProbe::Impl {
    Display* display = XOpenDisplay(nullptr);
    std::map<Window, int> clicks;

    Window root() const { return DefaultRootWindow(display); }
    Atom atom(const char* name) const { return XInternAtom(display, name, False); }

    Window open(Place place, unsigned long color, bool isFullScreen) {
        const Window window =
            XCreateSimpleWindow(display, root(), place.x, place.y, static_cast<unsigned>(place.width),
                                static_cast<unsigned>(place.height), 0, 0, color);
        XSizeHints hints{};
        hints.flags = USPosition | USSize;
        XSetWMNormalHints(display, window, &hints);
        // Without a frame, so that the color starts at the window's place.
        const unsigned long undecorated[] = {2, 0, 0, 0, 0};
        const Atom motifHints = atom("_MOTIF_WM_HINTS");
        XChangeProperty(display, window, motifHints, motifHints, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(undecorated), 5);
        XSelectInput(display, window, ButtonPressMask | StructureNotifyMask);
        if (isFullScreen) {
            const Atom state = atom("_NET_WM_STATE_FULLSCREEN");
            XChangeProperty(display, window, atom("_NET_WM_STATE"), XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(&state), 1);
        }
        XMapRaised(display, window);
        XSync(display, False);
        return window;
    }

    void takeEvents() {
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            if (event.type == ButtonPress)
                ++clicks[event.xbutton.window];
        }
    }
};

DesktopProbe::DesktopProbe()
    : impl_(std::make_unique<Impl>()) {
    if (!impl_->display)
        throw std::runtime_error("no display");
}

DesktopProbe::~DesktopProbe() {
    XCloseDisplay(impl_->display);
}

DesktopProbe::WindowId DesktopProbe::openWindow(Place place, unsigned long color) {
    const auto window = impl_->open(place, color, false);
    if (!eventuallyInQt(10, [&] { return isMapped(window); }))
        throw std::runtime_error("a window did not open");
    activate(window);
    return window;
}

DesktopProbe::WindowId DesktopProbe::openFullScreenWindow(unsigned long color) {
    const Place whole{0, 0, DisplayWidth(impl_->display, 0), DisplayHeight(impl_->display, 0)};
    const auto window = impl_->open({100, 100, 300, 300}, color, true);
    if (!eventuallyInQt(10, [&] { return isMapped(window) && place(window) == whole; }))
        throw std::runtime_error("a window did not fill the screen");
    activate(window);
    return window;
}

DesktopProbe::WindowId DesktopProbe::openTopPanel(int height) {
    Display* display = impl_->display;
    const int width = DisplayWidth(display, 0);
    const Window window = XCreateSimpleWindow(display, impl_->root(), 0, 0, static_cast<unsigned>(width),
                                              static_cast<unsigned>(height), 0, 0, 0x404040);
    const Atom dock = impl_->atom("_NET_WM_WINDOW_TYPE_DOCK");
    XChangeProperty(display, window, impl_->atom("_NET_WM_WINDOW_TYPE"), XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&dock), 1);
    const long strut[12] = {0, 0, height, 0, 0, 0, 0, 0, 0, width - 1, 0, 0};
    XChangeProperty(display, window, impl_->atom("_NET_WM_STRUT_PARTIAL"), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(strut), 12);
    XMapRaised(display, window);
    XSync(display, False);
    return window;
}

void DesktopProbe::closeWindow(WindowId window) {
    XDestroyWindow(impl_->display, window);
    XSync(impl_->display, False);
}

void DesktopProbe::activate(WindowId window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = impl_->atom("_NET_ACTIVE_WINDOW");
    event.xclient.format = 32;
    event.xclient.data.l[0] = 2; // the source is a pager, which window managers obey
    XSendEvent(impl_->display, impl_->root(), False, SubstructureNotifyMask | SubstructureRedirectMask,
               &event);
    XSync(impl_->display, False);
    if (!eventuallyInQt(10, [&] { return focus() == window; }))
        throw std::runtime_error("a window did not get the focus");
}

void DesktopProbe::click(int x, int y) {
    XTestFakeMotionEvent(impl_->display, 0, x, y, CurrentTime);
    XTestFakeButtonEvent(impl_->display, 1, True, CurrentTime);
    XTestFakeButtonEvent(impl_->display, 1, False, CurrentTime);
    XSync(impl_->display, False);
}

int DesktopProbe::clicks(WindowId window) {
    impl_->takeEvents();
    return impl_->clicks[window];
}

DesktopProbe::WindowId DesktopProbe::focus() {
    Window window = 0;
    int revert = 0;
    XGetInputFocus(impl_->display, &window, &revert);
    return window;
}

DesktopProbe::Place DesktopProbe::place(WindowId window) {
    XWindowAttributes attributes;
    XGetWindowAttributes(impl_->display, window, &attributes);
    Place place{0, 0, attributes.width, attributes.height};
    Window child = 0;
    XTranslateCoordinates(impl_->display, window, impl_->root(), 0, 0, &place.x, &place.y, &child);
    return place;
}

bool DesktopProbe::isMapped(WindowId window) {
    XWindowAttributes attributes;
    return XGetWindowAttributes(impl_->display, window, &attributes) != 0 &&
           attributes.map_state == IsViewable;
}

bool DesktopProbe::isOverrideRedirect(WindowId window) {
    XWindowAttributes attributes;
    return XGetWindowAttributes(impl_->display, window, &attributes) != 0 &&
           attributes.override_redirect != 0;
}

std::vector<std::string> DesktopProbe::atoms(WindowId window, const std::string& property) {
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(impl_->display, window, impl_->atom(property.c_str()), 0, 1024, False, XA_ATOM, &type,
                       &format, &count, &left, &data);
    std::vector<std::string> names;
    for (unsigned long i = 0; i < count; ++i) {
        char* name = XGetAtomName(impl_->display, reinterpret_cast<Atom*>(data)[i]);
        names.emplace_back(name);
        XFree(name);
    }
    if (data)
        XFree(data);
    return names;
}

bool DesktopProbe::hasOwner(const std::string& selection) {
    return XGetSelectionOwner(impl_->display, impl_->atom(selection.c_str())) != 0;
}

bool DesktopProbe::isInShape(WindowId window, int x, int y) {
    int count = 0;
    int order = 0;
    XRectangle* rectangles = XShapeGetRectangles(impl_->display, window, ShapeBounding, &count, &order);
    bool isInside = false;
    for (int i = 0; i < count; ++i) {
        const auto& r = rectangles[i];
        isInside = isInside || (x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height);
    }
    if (rectangles)
        XFree(rectangles);
    return isInside;
}

QImage DesktopProbe::screen(Place place) {
    XImage* pixels =
        XGetImage(impl_->display, impl_->root(), place.x, place.y, static_cast<unsigned>(place.width),
                  static_cast<unsigned>(place.height), AllPlanes, ZPixmap);
    if (!pixels)
        throw std::runtime_error("no picture of the screen");
    QImage image(place.width, place.height, QImage::Format_RGB32);
    for (int y = 0; y < place.height; ++y) {
        for (int x = 0; x < place.width; ++x)
            image.setPixel(x, y, static_cast<uint>(XGetPixel(pixels, x, y)) | 0xFF000000u);
    }
    XDestroyImage(pixels);
    return image;
}

void runQtFor(double seconds) {
    eventuallyInQt(seconds, [] { return false; });
}

} // namespace sonvale::tests
