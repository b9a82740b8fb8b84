#include "adapters/qt/QtMainContext.h"
#include "adapters/qt/QtTrayHost.h"

#include "persistence/SettingsKeys.h"
#include "runtime/SystemClock.h"
#include "runtime/Task.h"
#include "tests/unit/core/CoreFixture.h"
#include "ui/menu/MenuModel.h"
#include "ui/menu/TrayIcon.h"
#include "ui/menu/TrayMenu.h"

#include <unistd.h>

#include <QApplication>
#include <QSocketNotifier>
#include <iostream>
#include <memory>
#include <string>

namespace {

using namespace sonvale;

/// Prints a call of the panel.
void say(const std::string& what) {
    std::cout << what << std::endl;
}

/// The core behind the menu.
class Core : public tests::CoreFixture {
public:
    std::shared_ptr<core::AppState> appState() { return state().shared_from_this(); }
    persistence::Settings& table() { return settings(); }

    /// Executes a line of the standard input.
    void obey(ui::TrayIcon& tray, const std::string& line) {
        using platform::RecordingState;
        if (line == "recording")
            setState(tray, RecordingState::recording);
        else if (line == "processing")
            setState(tray, RecordingState::processing);
        else if (line.starts_with("error "))
            state().errorMessage = line.substr(6);
        else if (line == "no error")
            state().errorMessage = std::nullopt;
        else if (line.starts_with("transcription "))
            state().lastTranscription = line.substr(14);
        else if (line.starts_with("language "))
            settings().set(persistence::keys::language, line.substr(9));
        else if (line == "report")
            report();
    }

private:
    void TestBody() override {}

    void setState(ui::TrayIcon& tray, platform::RecordingState now) {
        state().recordingState = now;
        tray.setState(now);
    }
    void report() {
        settle();
        say("copied " + pasteboard().text().value_or("nothing"));
        say("pasted " + (pastedTexts().empty() ? "nothing" : pastedTexts().back()));
        say("speaks " + settings().bound(persistence::keys::language));
    }
};

} // namespace

/// A program with only a tray icon and its menu. It executes the lines of its standard input. The exit status
/// is 0 if the user quits, and 3 if the input ends.
int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    runtime::SystemClock clock;
    adapters::qt::QtMainContext context(clock, std::make_shared<runtime::TaskRegistry>());
    Core core;
    base::setLogSinks({}); // the core's fixture silences them
    ui::MenuModel model(core.appState(), core.table(),
                        {.openDashboard = [] { say("dashboard"); },
                         .quit = [] { QApplication::quit(); },
                         .closeMenu = [](const std::function<void()>& then) { then(); },
                         .giveKeyboardBack = [](const std::function<void()>& then) { then(); }});
    ui::TrayMenu menu(model);
    adapters::qt::QtTrayHost host(context.actor(), clock);
    ui::TrayIcon tray(host, menu.menu(),
                      {.toggleMenu = [](const QRect&) { say("menu"); }, .noPanel = [] { say("no panel"); }});

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
            core.obey(tray, input.substr(0, end));
            input.erase(0, end + 1);
        }
    });
    return QApplication::exec();
}
