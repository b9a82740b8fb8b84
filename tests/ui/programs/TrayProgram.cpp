#include "platform/qt/QtMainContext.h"
#include "runtime/SystemClock.h"
#include "runtime/Task.h"
#include "ui/TrayIcon.h"

#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <iostream>
#include <memory>
#include <string>

namespace {

using namespace sonvale;

/// What the icon was told to do by its panel.
void say(const char* what) {
    std::cout << what << std::endl;
}

void obey(ui::TrayIcon& tray, const std::string& line) {
    using platform::RecordingState;
    if (line == "idle")
        tray.setState(RecordingState::idle);
    else if (line == "recording")
        tray.setState(RecordingState::recording);
    else if (line == "processing")
        tray.setState(RecordingState::processing);
    else if (line.starts_with("error "))
        tray.setErrorMessage(line.substr(6));
    else if (line == "no error")
        tray.setErrorMessage(std::nullopt);
}

} // namespace

/// A program that is nothing but a tray icon and does what it is told on its standard input. Exit status 0:
/// the user chose to quit; 3: the input ended.
int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    runtime::SystemClock clock;
    platform::qt::QtMainContext context(clock, std::make_shared<runtime::TaskRegistry>());
    ui::TrayIcon tray(context.actor(), clock,
                      {.toggleMenu = [](const QRect&) { say("menu"); },
                       .openDashboard = [] { say("dashboard"); },
                       .quit = [] { QApplication::quit(); },
                       .noPanel = [] { say("no panel"); }});

    std::string input;
    QSocketNotifier orders(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&orders, &QSocketNotifier::activated, [&] {
        char bytes[256];
        const auto count = read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0) {
            orders.setEnabled(false);
            QApplication::exit(3);
            return;
        }
        input.append(bytes, static_cast<std::size_t>(count));
        for (auto end = input.find('\n'); end != std::string::npos; end = input.find('\n')) {
            obey(tray, input.substr(0, end));
            input.erase(0, end + 1);
        }
    });
    return QApplication::exec();
}
