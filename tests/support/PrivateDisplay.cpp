#include "tests/support/PrivateDisplay.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

bool hasAnnouncedItself(Display* display) {
    const Atom check = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False);
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(display, DefaultRootWindow(display), check, 0, 1, False, XA_WINDOW, &type, &format,
                       &count, &left, &data);
    if (data)
        XFree(data);
    return count == 1;
}

/// Opens a window and returns whether it appears. Openbox loses windows that are opened while it starts.
bool takesWindows(Display* display) {
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 20, 20, 0, 0, 0);
    XMapWindow(display, window);
    XSync(display, False);
    const bool hasAppeared = eventually(0.5, [&] {
        XWindowAttributes attributes;
        return XGetWindowAttributes(display, window, &attributes) != 0 && attributes.map_state == IsViewable;
    });
    XDestroyWindow(display, window);
    XSync(display, False);
    return hasAppeared;
}

/// Returns whether a window manager that follows EWMH is running.
bool isManaged(const std::string& displayName) {
    Display* display = XOpenDisplay(displayName.c_str());
    if (!display)
        return false;
    const bool isReady = hasAnnouncedItself(display) && takesWindows(display);
    XCloseDisplay(display);
    return isReady;
}

std::string readDisplayNumber(int descriptor) {
    std::string number;
    pollfd waiting{descriptor, POLLIN, 0};
    while (poll(&waiting, 1, 20000) > 0) {
        char c = 0;
        if (read(descriptor, &c, 1) != 1)
            break;
        if (c == '\n')
            return number;
        number += c;
    }
    throw std::runtime_error("Xvfb did not start");
}

} // namespace

PrivateDisplay::PrivateDisplay(WindowManager windowManager, std::vector<std::string> serverArguments) {
    int ends[2] = {};
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    ChildProcess::Options server;
    // The server chooses a free number and writes it to the descriptor.
    server.arguments = {"Xvfb",        "-displayfd", "9",   "-screen", "0",
                        "1280x800x24", "-nolisten",  "tcp", "-ac",     "-noreset"};
    server.arguments.insert(server.arguments.end(), serverArguments.begin(), serverArguments.end());
    server.descriptors = {{ends[1], 9}};
    server.outputFile = directory_.path() + "/xvfb.log";
    server_ = std::make_unique<ChildProcess>(std::move(server));
    close(ends[1]);
    name_ = ":" + readDisplayNumber(ends[0]);
    close(ends[0]);

    if (windowManager == WindowManager::none)
        return;
    ChildProcess::Options manager;
    manager.environment = {
        {"DISPLAY", name_}, {"HOME", directory_.path()}, {"XDG_CONFIG_HOME", directory_.path()}};
    manager.environment["NO_AT_BRIDGE"] = "1";
    manager.outputFile = directory_.path() + "/wm.log";
    if (windowManager == WindowManager::openbox)
        manager.arguments = {"openbox"};
    else {
        // It reads its settings from a service of the session.
        bus_ = std::make_unique<PrivateBus>(manager.environment);
        manager.environment["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
        manager.arguments = {"xfwm4", "--compositor=off"};
    }
    windowManager_ = std::make_unique<ChildProcess>(std::move(manager));
    if (!eventually(20, [this] { return isManaged(name_); }))
        throw std::runtime_error("the window manager did not start");
}

} // namespace sonvale::tests
