#include "tests/support/Accessibility.h"

#include "tests/support/ChildProcess.h"

#include <stdexcept>

namespace sonvale::tests {

void turnOnAccessibility(const std::map<std::string, std::string>& environment) {
    const std::string turnOn =
        "dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus "
        "org.freedesktop.DBus.Properties.Set string:org.a11y.Status string:IsEnabled variant:boolean:true";
    const std::string wake =
        "bus=$(dbus-send --session --print-reply=literal --dest=org.a11y.Bus /org/a11y/bus "
        "org.a11y.Bus.GetAddress | sed 's/^ *//') && "
        "dbus-send --bus=\"$bus\" --print-reply --dest=org.a11y.atspi.Registry "
        "/org/a11y/atspi/accessible/root org.a11y.atspi.Accessible.GetChildren";
    if (run({"sh", "-c", turnOn + " && " + wake}, environment) != 0)
        throw std::runtime_error("the accessibility bus did not start");
}

} // namespace sonvale::tests
