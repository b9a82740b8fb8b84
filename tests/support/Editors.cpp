#include "tests/support/Editors.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

/// Windows may be destroyed at any time, which must not end the test's process.
class DisplayWithoutErrors {
public:
    explicit DisplayWithoutErrors(const std::string& name)
        : display_(XOpenDisplay(name.c_str()))
        , former_(XSetErrorHandler([](Display*, XErrorEvent*) { return 0; })) {
        if (!display_)
            throw std::runtime_error("no display " + name);
    }
    ~DisplayWithoutErrors() {
        XSync(display_, False);
        XCloseDisplay(display_);
        XSetErrorHandler(former_);
    }
    DisplayWithoutErrors(const DisplayWithoutErrors&) = delete;
    DisplayWithoutErrors& operator=(const DisplayWithoutErrors&) = delete;
    // NOLINTNEXTLINE(google-explicit-constructor): it is used wherever Xlib takes a display
    operator Display*() const { return display_; }

private:
    Display* display_;
    XErrorHandler former_;
};

Window parentOf(Display* display, Window window) {
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count))
        return None;
    if (children)
        XFree(children);
    return parent;
}

/// Returns the topmost visible window, at any depth, whose class contains `name`.
Window findWindow(Display* display, Window window, const std::string& name) {
    XClassHint hint{};
    if (XGetClassHint(display, window, &hint)) {
        const bool isIt = hint.res_class && std::string(hint.res_class).find(name) != std::string::npos;
        XFree(hint.res_name);
        XFree(hint.res_class);
        XWindowAttributes attributes{};
        if (isIt && XGetWindowAttributes(display, window, &attributes) &&
            attributes.map_state == IsViewable && attributes.width > 20)
            return window;
    }
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count))
        return None;
    Window found = None;
    for (unsigned int i = count; i > 0 && found == None; --i)
        found = findWindow(display, children[i - 1], name);
    if (children)
        XFree(children);
    return found;
}

bool isManaged(Display* display) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    XGetWindowProperty(display, DefaultRootWindow(display),
                       XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False), 0, 1, False, XA_WINDOW, &type,
                       &format, &count, &left, &data);
    if (data)
        XFree(data);
    return count == 1;
}

void activate(Display* display, Window window) {
    if (!isManaged(display)) {
        XRaiseWindow(display, window);
        XSetInputFocus(display, window, RevertToParent, CurrentTime);
        XSync(display, False);
        return;
    }
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "_NET_ACTIVE_WINDOW", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = 2; // a pager: the window manager obeys without a timestamp
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask,
               &event);
    XSync(display, False);
}

std::string classOf(Editor::Program program) {
    switch (program) {
    case Editor::Program::mousepad:
        return "ousepad";
    case Editor::Program::featherpad:
        return "FeatherPad";
    case Editor::Program::kwrite:
        return "kwrite";
    case Editor::Program::xterm:
        return "XTerm";
    case Editor::Program::xfce4Terminal:
        return "fce4-terminal";
    }
    return {};
}

std::vector<std::string> argumentsFor(Editor::Program program, const std::string& file,
                                      const std::string& command, bool isAlone) {
    switch (program) {
    case Editor::Program::mousepad:
        // A second instance would pass its file to the first.
        if (!isAlone)
            return {"mousepad", "--disable-server", file};
        return {"mousepad", file};
    case Editor::Program::featherpad:
        return {"featherpad", "--standalone", file};
    case Editor::Program::kwrite:
        return {"kwrite", file};
    case Editor::Program::xterm:
        return {"xterm", "-e", "sh", "-c", command};
    case Editor::Program::xfce4Terminal:
        return {"xfce4-terminal", "--disable-server", "-x", "sh", "-c", command};
    }
    return {};
}

/// Calls a method of `destination`. Returns false if it fails.
bool callOverBus(const std::string& bus, const std::string& destination, const std::string& path,
                 const std::string& method, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"gdbus",  "call",      "--address",     bus,  "--timeout", "10",
                                     "--dest", destination, "--object-path", path, "--method",  method};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command) == 0;
}

constexpr const char* mousepadName = "org.xfce.mousepad";

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

} // namespace

Editor::Editor(Options options)
    : options_(std::move(options))
    , file_(directory_.path() + "/note.txt")
    , keyboard_(options_.display, TestKeyboard::Source::xtest) {
    // A terminal's program creates it to show that it is ready.
    if (!isTerminal())
        std::ofstream(file_) << options_.text;
    writeSettings();
    startProgram();

    const bool hasAppeared = eventually(30, [this] {
        const DisplayWithoutErrors display(options_.display);
        window_ =
            findWindow(display, DefaultRootWindow(static_cast<Display*>(display)), classOf(options_.program));
        return window_ != None;
    });
    if (!hasAppeared)
        throw std::runtime_error("the editor did not start");
    if (!focus())
        throw std::runtime_error("the editor did not get the keyboard");
    if (isTerminal() && !eventually(30, [this] { return std::filesystem::exists(file_); }))
        throw std::runtime_error("the terminal's program did not start");
}

Editor::~Editor() = default;

void Editor::writeSettings() const {
    // Otherwise every save adds a line to the text, and an undo removes that too.
    std::filesystem::create_directories(directory_.path() + "/config/featherpad");
    std::ofstream(directory_.path() + "/config/featherpad/fp.conf") << "[text]\nappendEmptyLine=false\n";
    // On a slow machine mousepad takes its own save for another program's and shows a question.
    std::filesystem::create_directories(directory_.path() + "/config/glib-2.0/settings");
    std::ofstream(directory_.path() + "/config/glib-2.0/settings/keyfile")
        << "[org/xfce/mousepad/preferences/file]\nmonitor-changes=false\n";
}

void Editor::startProgram() {
    ChildProcess::Options child;
    child.environment = {{"DISPLAY", options_.display},
                         {"HOME", directory_.path()},
                         {"XDG_CONFIG_HOME", directory_.path() + "/config"},
                         {"XDG_DATA_HOME", directory_.path() + "/data"},
                         {"XDG_CACHE_HOME", directory_.path() + "/cache"},
                         {"XDG_RUNTIME_DIR", directory_.path()},
                         {"GSETTINGS_BACKEND", "keyfile"},
                         {"NO_AT_BRIDGE", "1"},
                         {"GDK_BACKEND", "x11"},
                         {"QT_QPA_PLATFORM", "xcb"}};
    for (const auto& [name, value] : options_.environment)
        child.environment[name] = value;
    if (!options_.environment.contains("DBUS_SESSION_BUS_ADDRESS")) {
        bus_ = std::make_unique<PrivateBus>(child.environment);
        child.environment["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
    }
    busAddress_ = child.environment["DBUS_SESSION_BUS_ADDRESS"];
    isAlone_ = options_.program == Program::mousepad &&
               !callOverBus(busAddress_, "org.freedesktop.DBus", "/", "org.freedesktop.DBus.GetNameOwner",
                            {mousepadName});
    // Control-D passes the typed part of the line to `cat`. On an empty line it ends `cat`, and the next one
    // starts.
    const std::string command = options_.command.empty() ? "while :; do cat >> FILE; done" : options_.command;
    child.arguments = argumentsFor(options_.program, file_, replaced(command, "FILE", file_), isAlone_);
    child.withoutEnvironment = {"WAYLAND_DISPLAY"};
    child.outputFile = directory_.path() + "/output.log";
    process_ = std::make_unique<ChildProcess>(std::move(child));
}

bool Editor::focus() {
    return eventually(15, [this] {
        {
            const DisplayWithoutErrors display(options_.display);
            activate(display, window_);
        }
        return eventually(0.5, [this] { return hasKeyboard(); });
    });
}

bool Editor::hasKeyboard() {
    const DisplayWithoutErrors display(options_.display);
    Window focus = None;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    // Toolkits focus a window inside their own window.
    for (int depth = 0; depth < 8 && focus > PointerRoot; ++depth) {
        if (focus == window_)
            return true;
        focus = parentOf(display, focus);
    }
    return false;
}

std::string Editor::savedText() {
    save();
    std::ostringstream text;
    text << std::ifstream(file_).rdbuf();
    auto result = text.str();
    if (!result.empty() && result.back() == '\n')
        result.pop_back();
    return result;
}

bool Editor::comesToHold(const std::string& expected, double seconds) {
    return eventually(seconds, [&] {
        if (savedText() == expected)
            return true;
        // The program needs a moment to save.
        pauseMilliseconds(150);
        std::ostringstream text;
        text << std::ifstream(file_).rdbuf();
        return text.str() == expected || text.str() == expected + "\n";
    });
}

void Editor::markFirstWord() {
    // This program has a menu above its text.
    const std::string y = options_.program == Program::xfce4Terminal ? "40" : "8";
    if (run({"xdotool", "mousemove", "--window", std::to_string(window_), "30", y, "click", "--repeat", "2",
             "--delay", "50", "1"},
            {{"DISPLAY", options_.display}}) != 0)
        throw std::runtime_error("the terminal could not be clicked into");
    // The program needs a moment to own the marked text.
    pauseMilliseconds(500);
}

bool Editor::isTerminal() const {
    return options_.program == Program::xterm || options_.program == Program::xfce4Terminal;
}

void Editor::save() {
    // Without a key, because the program may be pressing its own keys at this moment, on the same virtual
    // keyboard of XTEST.
    if (isAlone_ && callOverBus(busAddress_, mousepadName, "/org/xfce/mousepad/window/1",
                                "org.gtk.Actions.Activate", {"file.save", "[]", "{}"})) {
        pauseMilliseconds(50);
        return;
    }
    keyboard_.chord(XK_Control_L, isTerminal() ? XK_d : XK_s);
    pauseMilliseconds(50);
}

} // namespace sonvale::tests
