#include "ui/menu/TrayIcon.h"

#include "tests/support/ChildProcess.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/menu/StatusNotifierPanel.h"
#include "tests/ui/menu/XEmbedTray.h"
#include "ui/menu/MenuStatus.h"
#include "ui/menu/TrayIconSymbol.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QColor>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace sonvale::ui {

namespace {

using platform::RecordingState;
using tests::eventuallyInQt;

/// The tray icon in a program of its own, because Qt chooses the kind of tray once per process.
class TrayProgram {
public:
    /// Uses the session bus at `busAddress`; no bus if it is empty.
    explicit TrayProgram(const std::string& busAddress) {
        if (pipe(input_) != 0)
            throw std::runtime_error("no pipe");
        tests::ChildProcess::Options options;
        const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
        options.arguments = {folder / "sonvale-tray-program"};
        // An address without a server prevents D-Bus from starting a bus.
        options.environment = {{"DBUS_SESSION_BUS_ADDRESS", busAddress.empty()
                                                                ? "unix:path=" + directory_.path() + "/none"
                                                                : busAddress}};
        options.descriptors = {{input_[0], 0}};
        options.outputFile = log();
        process_ = std::make_unique<tests::ChildProcess>(std::move(options));
        close(input_[0]);
    }
    ~TrayProgram() {
        process_->end();
        close(input_[1]);
    }
    TrayProgram(const TrayProgram&) = delete;
    TrayProgram& operator=(const TrayProgram&) = delete;

    void send(const std::string& order) {
        const std::string line = order + "\n";
        ASSERT_EQ(write(input_[1], line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }
    tests::ChildProcess& process() { return *process_; }

    int timesLogged(const std::string& text) const {
        std::ifstream file(log());
        int count = 0;
        for (std::string line; std::getline(file, line);)
            count += line.find(text) != std::string::npos;
        return count;
    }

    /// Returns the voluntary context switches of all threads, which is the number of times that the program
    /// woke up to work.
    long wakeUps() const {
        long sum = 0;
        for (const auto& thread :
             std::filesystem::directory_iterator("/proc/" + std::to_string(process_->pid()) + "/task")) {
            std::ifstream file(thread.path() / "status");
            for (std::string word; file >> word;) {
                long count = 0;
                if (word == "voluntary_ctxt_switches:" && file >> count)
                    sum += count;
            }
        }
        return sum;
    }

private:
    std::string log() const { return directory_.path() + "/log"; }

    tests::TemporaryDirectory directory_;
    int input_[2] = {};
    std::unique_ptr<tests::ChildProcess> process_;
};

constexpr const char* noPanel = "No panel with a tray here";

std::uint32_t ground(RecordingState state) {
    return trayIconImage(state, 32).pixel(16, 3);
}

/// The lines of the menu before the first dictation.
const std::vector<std::string> idleMenu{"Ready",
                                        "-",
                                        "Hold ⌥D to start dictating",
                                        "-",
                                        "Dashboard",
                                        "-",
                                        "Copy Last Transcript",
                                        "Paste Last Transcript",
                                        "-",
                                        "Shortcuts",
                                        "Language",
                                        "-",
                                        "Quit Son Vale"};

std::vector<std::string> labels(const std::vector<tests::StatusNotifierPanel::MenuLine>& lines) {
    std::vector<std::string> result;
    for (const auto& line : lines)
        result.push_back(line.isSeparator ? "-" : line.label);
    return result;
}

tests::StatusNotifierPanel::MenuLine lineOf(const std::vector<tests::StatusNotifierPanel::MenuLine>& lines,
                                            const std::string& label) {
    const auto found = std::ranges::find(lines, label, &tests::StatusNotifierPanel::MenuLine::label);
    if (found == lines.end())
        throw std::runtime_error("the menu has no line " + label);
    return *found;
}

std::vector<std::string> checkedLines(const std::vector<tests::StatusNotifierPanel::MenuLine>& lines) {
    std::vector<std::string> result;
    for (const auto& line : lines) {
        if (line.isChecked)
            result.push_back(line.label);
    }
    return result;
}

} // namespace

TEST(MenuStatus, ReturnsTheTextOfEachState) {
    EXPECT_EQ(menuStatus(RecordingState::idle), "Ready");
    EXPECT_EQ(menuStatus(RecordingState::recording), "Listening...");
    EXPECT_EQ(menuStatus(RecordingState::processing), "Processing...");
    EXPECT_EQ(menuStatus(RecordingState::processingHandsFree), "Cleaning up...");
}

TEST(TrayIconSymbol, ShowsTheStateInEverySize) {
    for (const int size : {16, 22, 32, 64}) {
        const auto idle = trayIconImage(RecordingState::idle, size);
        const auto recording = trayIconImage(RecordingState::recording, size);
        const auto processing = trayIconImage(RecordingState::processing, size);
        EXPECT_NE(idle, recording);
        EXPECT_NE(idle, processing);
        EXPECT_NE(recording, processing);
        EXPECT_EQ(processing, trayIconImage(RecordingState::processingHandsFree, size));
        EXPECT_EQ(qAlpha(idle.pixel(0, 0)), 0);
        EXPECT_EQ(idle.size(), QSize(size, size));
    }
}

TEST(TrayIconSymbol, HasEnoughContrastOnItsOwnGround) {
    for (const auto state : {RecordingState::idle, RecordingState::recording, RecordingState::processing}) {
        const auto image = trayIconImage(state, 16);
        // The contrast between a bar or the middle dot and the disc: at least 4 to 1.
        const auto luminance = [](QRgb pixel) {
            const auto linear = [](float c) {
                return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f);
            };
            const QColor color(pixel);
            return 0.2126f * linear(color.redF()) + 0.7152f * linear(color.greenF()) +
                   0.0722f * linear(color.blueF());
        };
        EXPECT_GT((luminance(image.pixel(8, 8)) + 0.05f) / (luminance(image.pixel(8, 2)) + 0.05f), 4);
    }
}

TEST(TrayIcon, IsShownInAStatusNotifierPanel) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    EXPECT_EQ(panel.iconGround(), ground(RecordingState::idle));
    EXPECT_EQ(labels(panel.menu()), idleMenu);
    EXPECT_FALSE(panel.menu().at(0).isEnabled);
    EXPECT_EQ(program.timesLogged(noPanel), 0);
}

TEST(TrayIcon, FollowsTheState) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    program.send("recording");
    EXPECT_TRUE(eventuallyInQt(10, [&] { return panel.menu().at(0).label == "Listening..."; }));
    EXPECT_TRUE(eventuallyInQt(10, [&] { return panel.iconGround() == ground(RecordingState::recording); }));
    program.send("processing");
    EXPECT_TRUE(eventuallyInQt(10, [&] { return panel.menu().at(0).label == "Processing..."; }));
    EXPECT_TRUE(eventuallyInQt(10, [&] { return panel.iconGround() == ground(RecordingState::processing); }));
}

TEST(TrayIcon, ShowsTheErrorLineWhileThereIsOne) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    program.send("error No speech detected");
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        auto expected = idleMenu;
        expected.insert(expected.begin() + 1, "No speech detected");
        return labels(panel.menu()) == expected;
    }));
    EXPECT_FALSE(panel.menu().at(1).isEnabled);
    program.send("error " + std::string(2000, 'x'));
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        const auto line = panel.menu().at(1).label;
        return line.starts_with("xxx") && line.size() < 200;
    }));
    program.send("no error");
    EXPECT_TRUE(eventuallyInQt(10, [&] { return labels(panel.menu()) == idleMenu; }));
}

TEST(TrayIcon, QuitsByItsMenu) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    panel.choose(lineOf(panel.menu(), "Quit Son Vale").id);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return !program.process().isRunning(); }));
    EXPECT_EQ(program.process().wait(0), 0);
}

TEST(TrayIcon, OpensTheDashboardAndTheMenu) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    panel.choose(lineOf(panel.menu(), "Dashboard").id);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return program.timesLogged("dashboard") == 1; }));
    panel.choose(lineOf(panel.menu(), "Shortcuts").id);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return program.timesLogged("dashboard") == 2; }));
    panel.activate();
    EXPECT_TRUE(eventuallyInQt(10, [&] { return program.timesLogged("menu") == 1; }));
    EXPECT_EQ(program.timesLogged("no panel"), 0);
}

TEST(TrayIcon, CopiesAndPastesTheLastTranscriptByThePanelsMenu) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    for (const auto* label : {"Copy Last Transcript", "Paste Last Transcript"})
        EXPECT_FALSE(lineOf(panel.menu(), label).isEnabled) << label;
    program.send("transcription one apple");
    ASSERT_TRUE(eventuallyInQt(10, [&] { return panel.menu().at(2).label == "one apple"; }));
    EXPECT_FALSE(panel.menu().at(2).isEnabled) << "it says the text and does nothing";
    const auto reports = [&](const std::string& line) {
        return eventuallyInQt(10, [&] {
            program.send("report");
            tests::runQtFor(0.05);
            return program.timesLogged(line) > 0;
        });
    };
    EXPECT_TRUE(reports("copied nothing"));
    panel.choose(lineOf(panel.menu(), "Copy Last Transcript").id);
    EXPECT_TRUE(reports("copied one apple"));
    EXPECT_TRUE(reports("pasted nothing"));
    panel.choose(lineOf(panel.menu(), "Paste Last Transcript").id);
    EXPECT_TRUE(reports("pasted one apple"));
    program.send("transcription " + std::string(100000, 'x'));
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        const auto line = panel.menu().at(2).label;
        return line.starts_with("xxx") && line.size() < 200;
    }));
}

TEST(TrayIcon, ChoosesALanguageInThePanelsMenu) {
    const tests::PrivateBus bus;
    tests::StatusNotifierPanel panel(bus);
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    const auto languages = [&] { return lineOf(panel.menu(), "Language").submenu; };
    EXPECT_EQ(labels(languages()),
              (std::vector<std::string>{"English", "Spanish", "French", "German", "Italian", "Portuguese",
                                        "Japanese", "Chinese", "Korean", "Auto-detect"}));
    EXPECT_EQ(checkedLines(languages()), std::vector<std::string>{"English"});
    const auto choose = [&](const char* label) { panel.choose(lineOf(languages(), label).id); };
    const auto isChecked = [&](const char* label) {
        return eventuallyInQt(10,
                              [&] { return checkedLines(languages()) == std::vector<std::string>{label}; });
    };
    choose("French");
    EXPECT_TRUE(isChecked("French"));
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        program.send("report");
        tests::runQtFor(0.05);
        return program.timesLogged("speaks fr") > 0;
    }));
    choose("French");
    tests::runQtFor(0.2);
    EXPECT_TRUE(isChecked("French")) << "choosing it again keeps the mark";
    program.send("language ja");
    EXPECT_TRUE(isChecked("Japanese")) << "the settings' page has changed it";
}

TEST(TrayIcon, WaitsForAPanelThatStartsSlightlyLater) {
    const tests::PrivateBus bus;
    TrayProgram program(bus.address());
    tests::runQtFor(0.7);
    tests::StatusNotifierPanel panel(bus);
    EXPECT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
}

TEST(TrayIcon, AppearsWhenAPanelStartsMuchLater) {
    const tests::PrivateBus bus;
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return program.timesLogged(noPanel) == 1; }));
    tests::StatusNotifierPanel panel(bus);
    EXPECT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    EXPECT_EQ(program.timesLogged(noPanel), 1);
}

TEST(TrayIcon, IsShownInAnX11Tray) {
    constexpr unsigned long panelColor = 0xF0F2F5;
    tests::XEmbedTray tray(panelColor);
    TrayProgram program("");
    ASSERT_TRUE(eventuallyInQt(20, [&] { return tray.poll() == 1; }));
    const QRgb idle = trayIconImage(RecordingState::idle, 22).pixel(11, 2);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return tray.icon().pixel(11, 2) == idle; }));
    EXPECT_EQ(tray.icon().pixel(0, 0) & 0xFFFFFF, panelColor);
    program.send("recording");
    const QRgb recording = trayIconImage(RecordingState::recording, 22).pixel(11, 2);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return tray.icon().pixel(11, 2) == recording; }));
}

TEST(TrayIcon, AppearsWhenAnX11TrayStartsMuchLater) {
    TrayProgram program("");
    ASSERT_TRUE(eventuallyInQt(20, [&] { return program.timesLogged(noPanel) == 1; }));
    tests::XEmbedTray tray(0x1A1D24);
    EXPECT_TRUE(eventuallyInQt(20, [&] { return tray.poll() == 1; }));
}

TEST(TrayIcon, PrefersAStatusNotifierPanelThatStartsAfterAnX11Tray) {
    const tests::PrivateBus bus;
    tests::XEmbedTray tray(0x1A1D24);
    TrayProgram program(bus.address());
    tests::runQtFor(0.5);
    tests::StatusNotifierPanel panel(bus);
    EXPECT_TRUE(eventuallyInQt(20, [&] { return panel.itemCount() == 1; }));
    EXPECT_EQ(tray.poll(), 0);
}

TEST(TrayIcon, RunsAndStaysIdleWithoutAPanel) {
    const tests::PrivateBus bus;
    TrayProgram program(bus.address());
    ASSERT_TRUE(eventuallyInQt(20, [&] { return program.timesLogged(noPanel) == 1; }));
    program.send("recording");
    program.send("error No speech detected");
    tests::runQtFor(0.3);
    const long before = program.wakeUps();
    tests::runQtFor(1);
    EXPECT_LE(program.wakeUps() - before, 2);
    EXPECT_TRUE(program.process().isRunning());
    EXPECT_EQ(program.timesLogged(noPanel), 1);
    EXPECT_EQ(program.timesLogged("no panel"), 1) << "and the dashboard opens instead";
}

} // namespace sonvale::ui
