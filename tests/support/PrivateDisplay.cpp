#include "tests/support/PrivateDisplay.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

/// Whether a window manager that follows EWMH has announced itself.
bool isManaged(const std::string& displayName) {
    Display* display = XOpenDisplay(displayName.c_str());
    if (!display)
        return false;
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
    XCloseDisplay(display);
    return count == 1;
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
    // The server picks a free number itself and writes it to the descriptor.
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
    manager.withoutEnvironment = {"DBUS_SESSION_BUS_ADDRESS"};
    manager.outputFile = directory_.path() + "/wm.log";
    if (windowManager == WindowManager::openbox)
        manager.arguments = {"openbox"};
    else
        manager.arguments = {"dbus-run-session", "--", "xfwm4", "--compositor=off"};
    windowManager_ = std::make_unique<ChildProcess>(std::move(manager));
    if (!eventually(20, [this] { return isManaged(name_); }))
        throw std::runtime_error("the window manager did not start");
}

} // namespace sonvale::tests
